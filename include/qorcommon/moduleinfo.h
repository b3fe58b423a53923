// Identity of modules (name, type, version, unique id) and display names of things.
#pragma once

#include "qorcommon/export.h"
#include "qorcommon/privateptr.h"
#include "qorcommon/string.h"
#include "qorcommon/version.h"

#include <cstdint>
#include <string>

namespace Orvane {
namespace Core {

class CustomInfo;

/// The identity of a module: its name, its type (for example "exe", "dll" or a plug-in kind),
/// its version and a 64-bit unique id.
///
/// Until one is set explicitly, the unique id follows name and type: it is the library's 64-bit
/// hash of name, "_" and type (the rule by which feature ids are made), and 0 while both are
/// empty. Two records of one module thus agree on the id whatever their versions, and a record
/// whose name start-up fills in later gets its id with it.
/// Thread safety: reentrant.
class QORCOMMON_API ModuleInfo {
public:
    /// An empty record: no name, no type, version 0.0.0, id 0.
    ModuleInfo();
    /// The id follows name and type.
    ModuleInfo(const std::string& name, const std::string& type, const Version& version);
    ModuleInfo(const std::string& name, const std::string& type, const Version& version,
               std::uint64_t uniqueId);
    ModuleInfo(const ModuleInfo& other);
    ModuleInfo(ModuleInfo&& other) noexcept;
    ModuleInfo& operator=(const ModuleInfo& other);
    ModuleInfo& operator=(ModuleInfo&& other) noexcept;
    ~ModuleInfo();

    const std::string& name() const;
    const std::string& type() const;
    const Version& version() const;
    std::uint64_t uniqueId() const;

    /// Changing name or type also changes a derived id, not an explicit one.
    void setName(const std::string& name);
    void setType(const std::string& type);
    void setVersion(const Version& version);
    /// Fixes the id; name and type no longer change it.
    void setUniqueId(std::uint64_t uniqueId);

    /// The id that name and type give: hash64(name + "_" + type), 0 when both are empty.
    static std::uint64_t makeUniqueId(const std::string& name, const std::string& type);

    /// True when name and type are empty, the version is 0.0.0 and the id is 0.
    bool isEmpty() const;

    /// "name (type) 3.35.4". A missing part is left out with its separator: "name 3.35.4"
    /// without a type, "name (type)" with version 0.0.0; an empty record gives "".
    String asString() const;

    /// Equal when all four parts are equal.
    bool operator==(const ModuleInfo& other) const;
    bool operator!=(const ModuleInfo& other) const { return !(*this == other); }

private:
    struct Private;
    PrivatePtr<Private> d;
};

/// A display name and description of a thing (a feature, a configuration entry, a macro), with
/// free key/value annotations.
/// Thread safety: reentrant.
class QORCOMMON_API NameInfo {
public:
    NameInfo();
    NameInfo(const std::string& name, const std::string& description);
    NameInfo(const std::string& name, const std::string& description, const CustomInfo& customInfo);
    NameInfo(const NameInfo& other);
    NameInfo(NameInfo&& other) noexcept;
    NameInfo& operator=(const NameInfo& other);
    NameInfo& operator=(NameInfo&& other) noexcept;
    ~NameInfo();

    const std::string& name() const;
    const std::string& description() const;
    /// Include qorcommon/custominfo.h to use the annotations.
    const CustomInfo& customInfo() const;
    CustomInfo& customInfo();

    void setName(const std::string& name);
    void setDescription(const std::string& description);
    void setCustomInfo(const CustomInfo& customInfo);

    /// True when name, description and annotations are all empty.
    bool isEmpty() const;

    bool operator==(const NameInfo& other) const;
    bool operator!=(const NameInfo& other) const { return !(*this == other); }

private:
    struct Private;
    PrivatePtr<Private> d;
};

} // namespace Core
} // namespace Orvane

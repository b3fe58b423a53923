// Features: named, typed factories through which the framework finds its services.
//
//     class MyHandlerFeature : public QOR::ConfigHandlerFeature {
//         const char* name() const override { return "mine"; }
//         GC<ConfigHandler> createObject(const GC<ConfigHandler>& chain) override {
//             return makeGC<MyHandler>(chain);
//         }
//     };
//     instance->registerFeature(makeGC<MyHandlerFeature>());
#pragma once

#include "qorcommon/export.h"
#include "qorcommon/gc.h"
#include "qorcommon/moduleinfo.h"
#include "qorcommon/privateptr.h"

#include <cstddef>
#include <cstdint>

namespace Orvane {
namespace Core {

class ConfigDefinition;
class ConfigHandler;
class LoggingHandler;
class ErrorInfoCollector;
class ClientRegistry;

namespace QOR {

class Globals;
class Module;

/// Book-keeping of who uses a thing.
/// Thread safety: implementations are thread-safe.
template <class T> class ReferenceRegistry {
public:
    virtual ~ReferenceRegistry() = default;
    /// Notes a user; the number of users afterwards.
    virtual std::size_t addReference(T* user) = 0;
    /// Forgets a user; the number of users afterwards.
    virtual std::size_t removeReference(T* user) = 0;
    virtual std::size_t referenceCount() const = 0;
};

/// A registry that keeps nothing and reports 0.
/// Thread safety: thread-safe.
template <class T> class VoidReferenceRegistry : public ReferenceRegistry<T> {
public:
    std::size_t addReference(T*) override { return 0; }
    std::size_t removeReference(T*) override { return 0; }
    std::size_t referenceCount() const override { return 0; }
};

/// A named, typed factory of a service. Features are identified only by their unique id, the
/// hash of name and type: two features with equal name and type are the same feature.
/// Thread safety: the accessors are thread-safe; setGlobals is the framework's own.
class QORCOMMON_API Feature : public GCObject {
public:
    Feature();
    ~Feature() override;
    Feature(const Feature&) = delete;
    Feature& operator=(const Feature&) = delete;

    const char* typeName() const override;
    /// The implementation's name, for example "envvar".
    virtual const char* name() const = 0;
    /// The kind of service, for example "config_handler".
    virtual const char* type() const = 0;
    /// Display name and description.
    virtual NameInfo nameInfo();
    /// toUniqueId(type(), name()).
    virtual std::int64_t uniqueId() const;
    /// The configuration entries the implementation reads; null by default.
    virtual GC<ConfigDefinition> configDefinition();
    /// The modules that use the feature; by default one process-wide registry that keeps nothing.
    virtual ReferenceRegistry<Module>* moduleReferenceRegistry();

    /// The framework the feature is registered with (null before registration).
    Globals* globals() const;
    void setGlobals(Globals* globals);

    /// The 64-bit hash of "<name>_<type>" under the feature seed.
    static std::int64_t toUniqueId(const char* type, const char* name);
    /// The seed of toUniqueId.
    static constexpr std::uint64_t UniqueIdSeed = 0xA526FF344BC14A8EULL;

private:
    struct Private;
    PrivatePtr<Private> d;
};

/// A feature that makes services of type T over a configuration chain.
/// Thread safety: createObject may be called from any thread.
template <class T> class SimpleFeature : public Feature {
public:
    using ServiceType = T;
    /// A new service reading its settings from `config`; null when it cannot be made.
    virtual GC<T> createObject(const GC<ConfigHandler>& config) = 0;
};

/// Makes configuration handlers; `createObject(chain)` makes a handler over `chain`.
class QORCOMMON_API ConfigHandlerFeature : public SimpleFeature<ConfigHandler> {
public:
    const char* type() const override;
};

class QORCOMMON_API LoggingHandlerFeature : public SimpleFeature<LoggingHandler> {
public:
    const char* type() const override;
};

class QORCOMMON_API ErrorInfoCollectorFeature : public SimpleFeature<ErrorInfoCollector> {
public:
    const char* type() const override;
};

class QORCOMMON_API ClientRegistryFeature : public SimpleFeature<ClientRegistry> {
public:
    const char* type() const override;
};

} // namespace QOR
} // namespace Core
} // namespace Orvane

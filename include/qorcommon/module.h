// Modules and clients: the parts of an application that register with the framework.
#pragma once

#include "qorcommon/export.h"
#include "qorcommon/gc.h"
#include "qorcommon/moduleinfo.h"

#include <list>

namespace Orvane {
namespace Core {

class ErrorInfoCollectorListener;

namespace QOR {

class Feature;

/// An application component that registers with the framework (QOR::registerModule) and
/// contributes features.
/// Thread safety: the framework calls it from the registering thread.
class QORCOMMON_API Module {
public:
    Module();
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;
    virtual ~Module();

    /// The module's identity; the framework keys its table of modules by its unique id.
    virtual ModuleInfo moduleInfo() const = 0;
    /// The features that the module contributes; none by default.
    virtual std::list<GC<Feature>> features();
};

/// An object a host supplies to QOR::init(Client*, configFile). The framework registers the
/// listeners it names with the error collector at start-up.
/// Thread safety: the framework calls it during start-up only.
class QORCOMMON_API Client {
public:
    Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    virtual ~Client();

    /// The listeners that the client wants registered with the error collector; none by default.
    virtual std::list<ErrorInfoCollectorListener*> getErrorInfoCollectorListners();
};

} // namespace QOR
} // namespace Core
} // namespace Orvane

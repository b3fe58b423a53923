// The process-wide error collector: every module hands its error records to one collector, which
// stores them as its implementation sees fit and then tells every registered listener.
//
//     class ToLog : public ErrorInfoCollectorListener {
//         void errorInfoAdded(const ErrorInfo& e, const ModuleInfo& m,
//                             const CodeLocation& at) override { ... }
//     };
//     instance->globals()->getErrorInfoCollector()->registerListener(&toLog);
#pragma once

#include "qorcommon/errorinfo.h"
#include "qorcommon/event.h"
#include "qorcommon/export.h"
#include "qorcommon/gc.h"
#include "qorcommon/moduleinfo.h"
#include "qorcommon/privateptr.h"
#include "qorcommon/result.h"

namespace Orvane {
namespace Core {

/// Told of every error record that any collector stores.
/// Thread safety: called from the storing thread, one listener call at a time.
class QORCOMMON_API ErrorInfoCollectorListener {
public:
    ErrorInfoCollectorListener();
    ErrorInfoCollectorListener(const ErrorInfoCollectorListener& other);
    ErrorInfoCollectorListener& operator=(const ErrorInfoCollectorListener& other);
    virtual ~ErrorInfoCollectorListener();

    /// One stored record, with the module that stored it and the place it was stored from.
    virtual void errorInfoAdded(const ErrorInfo& errorInfo, const ModuleInfo& moduleInfo,
                                const CodeLocation& codeLocation) = 0;
};

/// Stores error records and notifies the listeners. The listener list is one process-wide list
/// shared by every collector: a listener registered once hears every collector that is installed
/// later.
/// Thread safety: thread-safe; `add` may be called from any thread, and from inside a listener.
class QORCOMMON_API ErrorInfoCollector : public GCObject {
public:
    ErrorInfoCollector();
    ~ErrorInfoCollector() override;
    ErrorInfoCollector(const ErrorInfoCollector&) = delete;
    ErrorInfoCollector& operator=(const ErrorInfoCollector&) = delete;

    const char* typeName() const override;

    /// Stores the record (storeErrorInfo), then calls every listener in registration order under
    /// the list's lock. The result is the storing operation's; listeners cannot make it fail.
    virtual Result add(const ErrorInfo& errorInfo, const ModuleInfo& moduleInfo,
                       const CodeLocation& codeLocation);
    /// Appends `listener` unless that very pointer is already registered. The collector never
    /// deletes a listener.
    virtual Result registerListener(ErrorInfoCollectorListener* listener);
    /// Removes every entry equal to `listener`; an unknown pointer is ignored.
    virtual void unregisterListener(ErrorInfoCollectorListener* listener);

    /// The number of registered listeners (for diagnostics).
    static std::size_t listenerCount();

protected:
    /// Keeps the record as this collector implements it.
    virtual Result storeErrorInfo(const ErrorInfo& errorInfo, const ModuleInfo& moduleInfo,
                                  const CodeLocation& codeLocation) = 0;
};

/// An error record travelling as the result of an event.
/// Thread safety: reentrant.
class QORCOMMON_API ErrorInfoEventResult : public EventResult {
public:
    explicit ErrorInfoEventResult(const ErrorInfo& errorInfo);
    ~ErrorInfoEventResult() override;
    const ErrorInfo& errorInfo() const;

private:
    ErrorInfo m_errorInfo;
};

namespace QOR {

/// The collector in place when the application installs none: keeps nothing, so listeners are
/// still told of every error.
/// Thread safety: thread-safe.
class QORCOMMON_API DummyErrorInfoCollector : public ErrorInfoCollector {
public:
    DummyErrorInfoCollector();
    ~DummyErrorInfoCollector() override;
    const char* typeName() const override;

protected:
    Result storeErrorInfo(const ErrorInfo& errorInfo, const ModuleInfo& moduleInfo,
                          const CodeLocation& codeLocation) override;
};

} // namespace QOR
} // namespace Core
} // namespace Orvane

// The C collector listener, shared by the C functions that register listeners: those on a
// collector handle (orv_errorinfocollector.cpp) and those on a module instance (the framework's
// C face).
#pragma once

#include "qorcommon/c/errorinfocollector.h"
#include "qorcommon/errorinfocollector.h"

namespace Orvane {
namespace Core {
namespace CApi {

/// Hands each stored record to a C callback as three C records that live for the call only. The
/// tag is the C caller's and is never read here.
/// Thread safety: as thread-safe as the callback.
class CErrorInfoCollectorListener : public ErrorInfoCollectorListener {
public:
    CErrorInfoCollectorListener(orv_ErrorInfoCollectorCallback callback, void* tag);
    /// Leaves the process-wide listener list first: once the destructor returns, no walk calls
    /// the listener, and one under way on another thread has finished.
    ~CErrorInfoCollectorListener() override;
    CErrorInfoCollectorListener(const CErrorInfoCollectorListener&) = delete;
    CErrorInfoCollectorListener& operator=(const CErrorInfoCollectorListener&) = delete;

    void errorInfoAdded(const ErrorInfo& errorInfo, const ModuleInfo& moduleInfo,
                        const CodeLocation& codeLocation) override;

    void* tag() const { return m_tag; }

private:
    orv_ErrorInfoCollectorCallback m_callback;
    void* m_tag;
};

/// Makes a C listener and registers it with `collector`; the null handle when the collector is
/// null, the callback is null (reported as "callback") or the registration fails.
orv_ErrorInfoCollectorListener_ptr registerCListener(const GC<ErrorInfoCollector>& collector,
                                                     orv_ErrorInfoCollectorCallback callback,
                                                     void* tag);
/// Unregisters the listener behind `lis` from `collector`; a null handle is reported as
/// "lis.obj".
void unregisterCListener(const GC<ErrorInfoCollector>& collector,
                         orv_ErrorInfoCollectorListener_ptr lis);

} // namespace CApi
} // namespace Core
} // namespace Orvane

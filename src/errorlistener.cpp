// The simple error listener interface. Its C adapter, CWrapper::orv_ErrorListener, lives with the
// C face (capi/orv_errorlistener.cpp), where the C records are known.
#include "qorcommon/errorlistener.h"

namespace Orvane {
namespace Core {

ErrorListener::ErrorListener() = default;
ErrorListener::ErrorListener(const ErrorListener&) = default;
ErrorListener& ErrorListener::operator=(const ErrorListener&) = default;
ErrorListener::~ErrorListener() = default;

} // namespace Core
} // namespace Orvane

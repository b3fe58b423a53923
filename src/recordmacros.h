// The macro forms of error records: an ErrorInfo, a CodeLocation or a CustomInfo pair as the source
// of the macros of a format (see the asString(format) forms in qorcommon/errorinfo.h).
#pragma once

#include "qorcommon/errorinfo.h"

#include <string>

namespace Orvane {
namespace Core {
namespace Internal {

String expandErrorInfoFormat(const ErrorInfo& errorInfo, const std::string& format,
                             StringList& unresolved);
String expandCodeLocationFormat(const CodeLocation& codeLocation, const std::string& format,
                                StringList& unresolved);
StringList expandCustomInfoFormat(const CustomInfo& customInfo, const std::string& format,
                                  StringList& unresolved);

} // namespace Internal
} // namespace Core
} // namespace Orvane

// The out-of-line part of the protected variables: ProtectedVariable's vtable lives in the library.
#include "qorcommon/globalvariable.h"

namespace Orvane {
namespace Core {

ProtectedVariable::~ProtectedVariable() = default;

} // namespace Core
} // namespace Orvane

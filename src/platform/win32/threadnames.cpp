// Thread names on Windows: SetThreadDescription / GetThreadDescription, looked up at run time
// because Windows versions before 10 (1607) lack them.
#include "platform/platform.h"
#include "platform/win32/win32support.h"

namespace Orvane {
namespace Core {
namespace Platform {

namespace {

using SetDescription = HRESULT(WINAPI*)(HANDLE, PCWSTR);
using GetDescription = HRESULT(WINAPI*)(HANDLE, PWSTR*);

template <class Function> Function kernelFunction(const char* name) {
    HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    if (!kernel) return nullptr;
    // Through void* to silence the cast warning between unrelated function types.
    void* address = reinterpret_cast<void*>(GetProcAddress(kernel, name));
    return reinterpret_cast<Function>(address);
}

} // namespace

bool setCurrentThreadName(const std::string& name) {
    static const SetDescription set = kernelFunction<SetDescription>("SetThreadDescription");
    if (!set) return false;
    return SUCCEEDED(set(GetCurrentThread(), Win32::toWide(name).c_str()));
}

std::string currentThreadName() {
    static const GetDescription get = kernelFunction<GetDescription>("GetThreadDescription");
    if (!get) return std::string();
    PWSTR text = nullptr;
    if (FAILED(get(GetCurrentThread(), &text)) || !text) return std::string();
    std::string result = Win32::toUtf8(text);
    LocalFree(text);
    return result;
}

} // namespace Platform
} // namespace Core
} // namespace Orvane

// Built from the C++ umbrella header alone: it must compile by itself and give the whole face.
#include <qorcommon/qorcommon.h>

#include <cstdio>

int main() {
    const Orvane::Core::String text("umbrella");
    const Orvane::Core::Version version(QORCOMMON_VERSION_MAJOR, QORCOMMON_VERSION_MINOR,
                                        QORCOMMON_VERSION_PATCH);
    std::printf("%s %s\n", text.c_str(), version.toString().c_str());
    return version.toString() == QORCOMMON_VERSION_STRING ? 0 : 1;
}

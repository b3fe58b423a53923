// A program built against the installed library, through the umbrella header.
#include <qorcommon/qorcommon.h>

#include <cstdio>

namespace {
class Greeting : public Orvane::Core::GCObject {
public:
    const char* text() const { return "Hello, QorCommon " QORCOMMON_VERSION_STRING; }
};
} // namespace

int main() {
    Orvane::Core::GC<Greeting> greeting(new Greeting);
    Orvane::Core::GC<Greeting> copy = greeting;
    std::printf("consumer: %s (%d uses)\n", copy->text(), static_cast<int>(copy->useCount()));
    return copy->useCount() == 2 ? 0 : 1;
}

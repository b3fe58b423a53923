// A short tour of the library's C++ face: counted handles, parent ownership, strings and lists.
#include "qorcommon/bytearray.h"
#include "qorcommon/gc.h"
#include "qorcommon/hash.h"
#include "qorcommon/object.h"
#include "qorcommon/string.h"
#include "qorcommon/stringlist.h"
#include "qorcommon/version.h"

#include <cstdio>

using namespace Orvane::Core;

namespace {

class Service : public GCObject {
public:
    explicit Service(const char* name) : m_name(name) {}
    ~Service() override { std::printf("  service '%s' deleted with its last handle\n", m_name); }
    const char* name() const { return m_name; }

private:
    const char* m_name;
};

void countedHandles() {
    std::printf("Counted handles\n");
    GC<Service> first(new Service("mailer"));
    {
        GC<Service> second = first;
        std::printf("  %s is held %d times, type %s\n", second->name(),
                    static_cast<int>(second->useCount()), second->typeName());
    }
    std::printf("  back to %d use\n", static_cast<int>(first->useCount()));
}

void parentOwnership() {
    std::printf("Parent ownership\n");
    Object owner;
    new String("a child string", &owner);
    new StringList(std::vector<std::string>{"x", "y"}, &owner);
    std::printf("  owner holds %zu children; they go with it\n", owner.getChildren().size());
}

void strings() {
    std::printf("Strings\n");
    String line("{0} = {1} (line {2})");
    line.a("GLOBAL/LOG_FILE").a("orvane.log").a(42L, 5, String::Decimal);
    std::printf("  placeholders: %s\n", line.c_str());
    std::printf("  hexadecimal: %s, padded: %s, fixed: %s\n",
                String::toString(255L, 0, String::Hexadecimal).c_str(),
                String::toString(255L, 8, String::Hexadecimal).c_str(),
                String::toString(3.14159, 8, 3).c_str());
    std::printf("  '%s' matches 'orv*.c?g': %s\n", "orvane.cfg",
                String::isMatch("orvane.cfg", "orv*.c?g") ? "yes" : "no");
    String padded("  trimmed text \t");
    std::printf("  trim: [%s], upper: %s\n", padded.trim().c_str(), String("abc").toUpper().c_str());

    StringList parts = StringList::split("a;;b", ";", false);
    std::printf("  split 'a;;b' at ';': %zu parts, joined with '|': %s\n", parts.size(),
                parts.join("|").c_str());
    std::printf("  skipping empty parts: %zu parts\n", StringList::split("a;;b", ";", true).size());

    ByteArray bytes(std::string("\x01\x02\x03", 3));
    std::printf("  byte array of %zu bytes\n", bytes.size());
    std::printf("  version %s, hash of 'orvane' %016llx\n", Version(3, 35, 4).toString().c_str(),
                static_cast<unsigned long long>(hash64("orvane")));
}

} // namespace

int main() {
    countedHandles();
    parentOwnership();
    strings();
    return 0;
}

// A short tour of the library's C++ face: counted handles, parent ownership, strings and lists.
#include "qorcommon/bytearray.h"
#include "qorcommon/datetime.h"
#include "qorcommon/envconfighandler.h"
#include "qorcommon/errorinfo.h"
#include "qorcommon/errorinfocollector.h"
#include "qorcommon/exception.h"
#include "qorcommon/framework.h"
#include "qorcommon/gc.h"
#include "qorcommon/hash.h"
#include "qorcommon/logging.h"
#include "qorcommon/logginghandler.h"
#include "qorcommon/macroreplacer.h"
#include "qorcommon/memoryconfighandler.h"
#include "qorcommon/object.h"
#include "qorcommon/string.h"
#include "qorcommon/stringlist.h"
#include "qorcommon/version.h"

#include <cstdio>
#include <iostream>
#include <stdexcept>

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
    std::printf("  trim: [%s], upper: %s\n", padded.trim().c_str(),
                String("abc").toUpper().c_str());

    StringList parts = StringList::split("a;;b", ";", false);
    std::printf("  split 'a;;b' at ';': %zu parts, joined with '|': %s\n", parts.size(),
                parts.join("|").c_str());
    std::printf("  skipping empty parts: %zu parts\n", StringList::split("a;;b", ";", true).size());

    ByteArray bytes(std::string("\x01\x02\x03", 3));
    std::printf("  byte array of %zu bytes\n", bytes.size());
    std::printf("  version %s, hash of 'orvane' %016llx\n", Version(3, 35, 4).toString().c_str(),
                static_cast<unsigned long long>(hash64("orvane")));
}

void dateAndTime() {
    std::printf("Date and time\n");
    DateTime leapDay(2024, 2, 29, 23, 59, 58, 7);
    std::printf("  ISO: %s, token format DD.MM.YYYY: %s\n", leapDay.asISODateTime().c_str(),
                leapDay.asString("DD.MM.YYYY").c_str());
    DateTime parsed;
    if (DateTime::fromISODateTime("1969-12-31T23:59:59.250", DateTime::DaylightSavingAuto, parsed))
        std::printf("  parsed before 1970: %s (%d ms)\n", parsed.asISODateTime().c_str(),
                    static_cast<int>(parsed.milliseconds()));
}

void configurationChain() {
    std::printf("Configuration chain\n");
    // Command line over memory: "-c" arguments win, the rest falls back to the base handler.
    GC<ConfigHandler> memory(new MemoryConfigHandler());
    memory->setStringEntry("GLOBAL/LOG_FILE", "orvane.log", true);
    memory->setBooleanEntry("ORVANE_CONFIG_HANDLER/IS_WRITING_ENABLED", false, true);
    GC<ConfigHandler> chain(
        new CLAConfigHandler({"tour", "-cGLOBAL/LOG_LEVEL=3", "-cGLOBAL/PLUGINS=a<|>b"}, memory));
    std::string file;
    long level = 0;
    StringList plugins;
    chain->getStringEntry("GLOBAL/LOG_FILE", file, true);
    chain->getLongEntry("GLOBAL/LOG_LEVEL", level, true);
    chain->getStringListEntry("GLOBAL/PLUGINS", plugins, true);
    std::printf("  LOG_FILE from the base: %s, LOG_LEVEL from the command line: %ld, PLUGINS: %s\n",
                file.c_str(), level, plugins.join(", ").c_str());
    bool missing = false;
    // Each handler keeps the calling thread's last error; the base failed last here.
    if (!chain->getBooleanEntry("GLOBAL/MISSING", missing, true))
        std::printf("  a missing entry fails with: %s\n", memory->getLastError().c_str());
}

void errorRecords() {
    std::printf("Error records\n");
    ErrorInfo error("disk full", "free some space", CodeLocation("store.cpp", 42), DateTime::now());
    error.setErrorCode(28);
    error.customInfo() << CustomInfo::Pair("path", "/var/data");
    std::printf("  short form: %s\n", error.asShortString().c_str());
    try {
        try {
            throw std::runtime_error("write() returned ENOSPC");
        } catch (const std::exception& cause) {
            throw OperationException(error, new std::runtime_error(cause.what()));
        }
    } catch (const OperationException& e) {
        std::printf("  exception chain:\n%s\n", e.asLongString().c_str());
    }
}

void logging() {
    std::printf("Logging (one line per entry on standard output)\n");
    std::cout.flush();
    GC<LoggingHandler> handler(new SimpleLoggingHandler(std::cout));
    GC<Logger> logger = handler->getLogger("tour", ModuleInfo());
    QOR_LOGGING_SCOPE(logger);
    QOR_LOG(Logger::Info, LogEntry::fromGeneralMessage("configuration read"));
    QOR_LOG(Logger::Warning, LogEntry::fromVariable_str("level", "3", "long"));
}

void macros() {
    std::printf("Macro language\n");
    std::printf(
        "  %s\n",
        replaceStr("$(str_cat:\"2 + 3 = \",$(o:2,+,3))$(sp)($(if:$(o:3,>,2),{bigger},{smaller}))")
            .c_str());
    std::printf("  %s\n",
                replaceStr("$(function:twice,x,{$(return:$(v:x)$(v:x))})$(call:twice,ab)").c_str());
    StringList errors;
    String text = replaceStr("$(no_such_macro)", errors);
    std::printf("  %s, error: %s\n", text.c_str(), errors.join("; ").c_str());
}

void framework() {
    std::printf("Framework (start-up, a module, the error collector, shut-down)\n");
    // The configuration in memory: the logging handler that discards everything.
    GC<ConfigHandler> base(new MemoryConfigHandler());
    base->setEntryAsString("GLOBAL/LOGGING_HANDLER", "void", true);
    QOR::Instance* host = QOR::init(base, ModuleInfo("tour", "exe", Version(1, 0)), {});

    class Printer : public ErrorInfoCollectorListener {
    public:
        void errorInfoAdded(const ErrorInfo& error, const ModuleInfo& module,
                            const CodeLocation&) override {
            std::printf("  collector heard: %s from %s\n", error.errorText().c_str(),
                        module.asString().c_str());
        }
    } printer;
    GC<ErrorInfoCollector> collector = host->globals()->getErrorInfoCollector();
    collector->registerListener(&printer);

    QOR::Instance* module = QOR::registerModule(ModuleInfo("tour_module", "dll", Version(2, 1)));
    collector->add(ErrorInfo("disk almost full"), module->moduleInfo(), QOR_CODE_LOCATION);
    std::printf("  logging handlers on offer:");
    for (const GC<QOR::Feature>& feature : host->globals()->getFeatures("logging_handler"))
        std::printf(" %s", feature->name());
    std::printf("\n  the logging handler in use: %s\n",
                host->globals()->getLoggingHandler()->typeName());

    collector->unregisterListener(&printer);
    collector = GC<ErrorInfoCollector>();
    std::fflush(stdout);
    QOR::deinit(); // writes its stages to standard error
}

} // namespace

int main() {
    countedHandles();
    parentOwnership();
    strings();
    dateAndTime();
    configurationChain();
    errorRecords();
    logging();
    macros();
    framework();
    return 0;
}

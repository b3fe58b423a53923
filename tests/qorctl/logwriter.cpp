// Writes numbered entries through the file logging handler with a small maximum file size, so
// that the log is renamed aside several times while qorctl follows it.
//   qorctl_logwriter LOG_FILE COUNT PAUSE_MS
#include "qorcommon/datetime.h"
#include "qorcommon/logentry.h"
#include "qorcommon/orvanelogginghandler.h"
#include "qorcommon/thread.h"

#include <cstdio>
#include <string>

using namespace Orvane::Core;

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: qorctl_logwriter LOG_FILE COUNT PAUSE_MS\n");
        return 2;
    }
    const long count = std::stol(argv[2]);
    const long pause = std::stol(argv[3]);
    GC<OrvaneLoggingSettings> settings(new OrvaneLoggingSettings());
    settings->setLogFile(argv[1]);
    settings->setMaxFileSize(1024);
    GC<OrvaneLoggingHandler> handler(new OrvaneLoggingHandler(settings));
    if (!handler->init()) return 1;
    GC<Logger> logger = handler->getLogger(ModuleInfo("writer", "test", Version(1, 0)));
    for (long i = 0; i < count; ++i) {
        char text[32];
        std::snprintf(text, sizeof text, "entry %04ld", i);
        logger->addEntry(Logger::Message, LogEntry(LogEntry::General, text, 0), DateTime::now(), 0);
        Thread::sleep(pause);
    }
    return 0;
}

#include "hostsession.h"

#include "configchain.h"

#include "qorcommon/c/framework.h"
#include "qorcommon/fileinfo.h"
#include "qorcommon/framework.h"
#include "qorcommon/memoryconfighandler.h"

#include <iostream>

namespace Qorctl {

using namespace Orvane::Core;

HostSession::HostSession(const Context& context) {
    m_file = context.configFile.empty() ? "orvane.cfg" : context.configFile;
    m_fromFile = FileInfo(m_file).isFile();
    if (!m_fromFile && !context.configFile.empty())
        throw ProblemError("cannot read configuration file '" + m_file + "'");
    // The host's identity comes from GLOBAL/APP_NAME ... or the executable.
    bool started = false;
    if (m_fromFile) {
        started = qor_Init2(m_file.c_str(), nullptr).obj != nullptr;
    } else {
        GC<ConfigHandler> defaults(new MemoryConfigHandler());
        GC<ConfigHandler> base(new CLAConfigHandler(context.configArguments, defaults));
        started = QOR::init(base, ModuleInfo(), {}) != nullptr;
    }
    m_globals = QOR::globals();
    if (!started || !m_globals) {
        qor_Deinit();
        throw ProblemError("the library did not start");
    }
}

HostSession::~HostSession() {
    // Shut-down reports its stages on standard error: what was printed comes first.
    std::cout.flush();
    qor_Deinit();
}

} // namespace Qorctl

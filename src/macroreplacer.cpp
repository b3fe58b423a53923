// The public face of the macro replacer: sessions, helpers, parsed templates and the replacer.
// The parser (macroparser.cpp), the engine (macroengine.cpp), the built-ins (macrobuiltins.cpp)
// and the catalogue (macrocatalogue.cpp) do the work.
#include "qorcommon/macroreplacer.h"

#include "macrobuiltins.h"
#include "macroengine.h"

#include <memory>
#include <utility>
#include <vector>

namespace Orvane {
namespace Core {

// ---- session frames ----------------------------------------------------------------------------

namespace Internal {
namespace RunTimeSession {

// Made by the first variable: most expansions set none, and a session is made per expansion.
struct Frame::Private {
    std::map<std::string, std::string> variables;
};

Frame::Frame() : d(nullptr) {}

Frame::~Frame() {
    delete d;
}

bool Frame::variable(const std::string& name, std::string& value) const {
    if (!d) return false;
    auto it = d->variables.find(name);
    if (it == d->variables.end()) return false;
    value = it->second;
    return true;
}

void Frame::setVariable(const std::string& name, const std::string& value) {
    if (!d) d = new Private;
    d->variables[name] = value;
}

const std::map<std::string, std::string>& Frame::variables() const {
    static const auto* none = new std::map<std::string, std::string>;
    return d ? d->variables : *none;
}

MainFrame::MainFrame() = default;
MainFrame::~MainFrame() = default;

StackFrame::StackFrame(const std::string& functionName) : m_functionName(functionName) {}
StackFrame::~StackFrame() = default;

const std::string& StackFrame::functionName() const {
    return m_functionName;
}

} // namespace RunTimeSession
} // namespace Internal

// ---- the session -------------------------------------------------------------------------------

MacroReplacer_RunTimeSession::Custom::~Custom() = default;

MacroReplacer_RunTimeSession::MacroReplacer_RunTimeSession(Custom* custom) : d(new Private) {
    d->custom = custom;
}

MacroReplacer_RunTimeSession::~MacroReplacer_RunTimeSession() {
    delete d;
}

MacroReplacer_RunTimeSession::Custom* MacroReplacer_RunTimeSession::custom() const {
    return d->custom;
}

MacroReplacer* MacroReplacer_RunTimeSession::replacer() const {
    return d->replacer;
}

bool MacroReplacer_RunTimeSession::variable(const std::string& name, std::string& value) const {
    if (!d->calls.empty() && d->calls.back()->variable(name, value)) return true;
    return d->mainFrame.variable(name, value);
}

void MacroReplacer_RunTimeSession::setVariable(const std::string& name, const std::string& value) {
    d->currentFrame().setVariable(name, value);
}

std::size_t MacroReplacer_RunTimeSession::callDepth() const {
    return d->calls.size();
}

bool MacroReplacer_RunTimeSession::hasFunction(const std::string& name) const {
    return d->functions.count(name) != 0;
}

bool MacroReplacer_RunTimeSession::hasPendingReturn() const {
    return d->returning;
}

const std::string& MacroReplacer_RunTimeSession::pendingReturnValue() const {
    return d->returnValue;
}

struct MacroReplacer::Private {
    MacroReplacerHelper* helper = nullptr;
    std::unique_ptr<MacroReplacerHelper> ownHelper;
};

// ---- MacroReplacerHelper -----------------------------------------------------------------------

MacroReplacerHelper::MacroReplacerHelper() : d(new Private) {}

MacroReplacerHelper::MacroReplacerHelper(MacroReplacerHelper* parent) : d(new Private) {
    d->parent = parent;
}

MacroReplacerHelper::~MacroReplacerHelper() {
    delete d;
}

bool MacroReplacerHelper::getCustomValue(const std::string&, const StringList&, std::string&,
                                         StringList&) {
    return false;
}

bool MacroReplacerHelper::getCustomValue(const std::string& name, const StringList& args,
                                         std::string& result, StringList& errors,
                                         MacroReplacer_RunTimeSession&) {
    return getCustomValue(name, args, result, errors);
}

bool MacroReplacerHelper::getValue(const std::string& name, const StringList& args,
                                   std::string& result, StringList& errors) {
    MacroReplacer_RunTimeSession session;
    return getValue(name, args, result, errors, session);
}

bool MacroReplacerHelper::getValue(const std::string& name, const StringList& args,
                                   std::string& result, StringList& errors,
                                   MacroReplacer_RunTimeSession& session) {
    // Executors receive a replacer; one over this helper stands in when no expansion runs.
    std::unique_ptr<MacroReplacer> standIn;
    MacroReplacer* replacer = session.replacer();
    if (!replacer) {
        standIn.reset(new MacroReplacer(this));
        replacer = standIn.get();
    }
    Internal::ExpansionScope scope(session, replacer);
    Internal::MacroEngine engine(session, replacer, this, errors);
    result.clear();
    bool ok = false;
    if (const Internal::Builtin* builtin = Internal::findBuiltin(name)) {
        std::vector<Internal::CompiledArg> parsed;
        parsed.reserve(args.size());
        for (const std::string& arg : args)
            parsed.push_back(engine.runtimeArg(arg));
        Internal::ArgValues values(parsed.size());
        for (std::size_t i = 0; i < parsed.size(); ++i) {
            values[i].arg = &parsed[i];
            values[i].value = &parsed[i].text;
        }
        Internal::BuiltinCall call{engine, name, values, result};
        ok = builtin->function(call);
    } else {
        bool known = false;
        ok = engine.lookup(name, args, result, known);
    }
    if (!ok) result.clear();
    return ok;
}

void MacroReplacerHelper::registerMacroExecutor(const std::string& name, Executor executor) {
    auto shared = std::make_shared<const Executor>(std::move(executor));
    ScopedLock<Platform::Mutex> lock(d->mutex);
    d->executors[name] = std::move(shared);
    d->executorCount.store(d->executors.size(), std::memory_order_release);
}

bool MacroReplacerHelper::unregisterMacroExecutor(const std::string& name) {
    std::shared_ptr<const Executor> removed; // destroyed outside the lock
    ScopedLock<Platform::Mutex> lock(d->mutex);
    auto it = d->executors.find(name);
    if (it == d->executors.end()) return false;
    removed = std::move(it->second);
    d->executors.erase(it);
    d->executorCount.store(d->executors.size(), std::memory_order_release);
    lock.unlock();
    return true;
}

bool MacroReplacerHelper::hasMacroExecutor(const std::string& name) const {
    return d->find(name) != nullptr;
}

MacroReplacerHelper* MacroReplacerHelper::parentHelper() const {
    return d->parent;
}

void MacroReplacerHelper::setParentHelper(MacroReplacerHelper* parent) {
    d->parent = parent;
}

// ---- SimpleMacroReplacerHelper -----------------------------------------------------------------

SimpleMacroReplacerHelper::SimpleMacroReplacerHelper(Executor executor, MacroReplacerHelper* parent)
    : MacroReplacerHelper(parent), m_executor(std::move(executor)) {}

SimpleMacroReplacerHelper::~SimpleMacroReplacerHelper() = default;

bool SimpleMacroReplacerHelper::getCustomValue(const std::string& name, const StringList& args,
                                               std::string& result, StringList& errors) {
    if (!m_executor) return false;
    MacroReplacer replacer(this);
    return m_executor(name, args, result, errors, &replacer);
}

bool SimpleMacroReplacerHelper::getCustomValue(const std::string& name, const StringList& args,
                                               std::string& result, StringList& errors,
                                               MacroReplacer_RunTimeSession& session) {
    if (!m_executor) return false;
    if (!session.replacer()) return getCustomValue(name, args, result, errors);
    return m_executor(name, args, result, errors, session.replacer());
}

// ---- MacroTemplate -----------------------------------------------------------------------------

MacroTemplate::MacroTemplate() = default;

MacroTemplate::MacroTemplate(const std::string& text)
    : d(new Private(Internal::parseTemplate(text, 1))) {}

MacroTemplate::MacroTemplate(const MacroTemplate& other) noexcept = default;
MacroTemplate::MacroTemplate(MacroTemplate&& other) noexcept = default;
MacroTemplate& MacroTemplate::operator=(const MacroTemplate& other) noexcept = default;
MacroTemplate& MacroTemplate::operator=(MacroTemplate&& other) noexcept = default;
MacroTemplate::~MacroTemplate() = default;

const std::string& MacroTemplate::text() const {
    static const std::string* empty = new std::string;
    return d->tmpl ? d->tmpl->text : *empty;
}

bool MacroTemplate::isEmpty() const {
    return !d->tmpl || d->tmpl->text.empty();
}

bool MacroTemplate::isConstant() const {
    return !d->tmpl || d->tmpl->constant;
}

// ---- MacroReplacer -----------------------------------------------------------------------------

MacroReplacer::MacroReplacer() : d(new Private) {}

MacroReplacer::MacroReplacer(MacroReplacerHelper* helper) : d(new Private) {
    d->helper = helper;
}

MacroReplacer::MacroReplacer(Executor executor) : d(new Private) {
    d->ownHelper.reset(new SimpleMacroReplacerHelper(std::move(executor)));
    d->helper = d->ownHelper.get();
}

MacroReplacer::~MacroReplacer() {
    delete d;
}

MacroReplacerHelper* MacroReplacer::helper() const {
    return d->helper;
}

bool MacroReplacer::replace(std::string& text) {
    StringList errors;
    return replace(text, errors);
}

bool MacroReplacer::replace(std::string& text, StringList& errors) {
    MacroReplacer_RunTimeSession session;
    return replace(text, errors, session);
}

bool MacroReplacer::replace(std::string& text, StringList& errors,
                            MacroReplacer_RunTimeSession::Custom* custom) {
    MacroReplacer_RunTimeSession session(custom);
    return replace(text, errors, session);
}

bool MacroReplacer::replace(std::string& text, StringList& errors,
                            MacroReplacer_RunTimeSession& session) {
    Internal::TemplatePtr parsed = Internal::cachedTemplate(text);
    std::string out;
    const bool ok = Internal::expandWith(this, d->helper, parsed.get(), out, errors, session);
    text.swap(out);
    return ok;
}

bool MacroReplacer::expand(const MacroTemplate& tmpl, std::string& result) {
    StringList errors;
    return expand(tmpl, result, errors);
}

bool MacroReplacer::expand(const MacroTemplate& tmpl, std::string& result, StringList& errors) {
    MacroReplacer_RunTimeSession session;
    return expand(tmpl, result, errors, session);
}

bool MacroReplacer::expand(const MacroTemplate& tmpl, std::string& result, StringList& errors,
                           MacroReplacer_RunTimeSession::Custom* custom) {
    MacroReplacer_RunTimeSession session(custom);
    return expand(tmpl, result, errors, session);
}

bool MacroReplacer::expand(const MacroTemplate& tmpl, std::string& result, StringList& errors,
                           MacroReplacer_RunTimeSession& session) {
    return Internal::expandWith(this, d->helper, MacroReplacerAccess::compiled(tmpl), result,
                                errors, session);
}

// ---- free functions ----------------------------------------------------------------------------

String replaceStr(const std::string& text) {
    StringList errors;
    return replaceStr(text, errors);
}

String replaceStr(const std::string& text, StringList& errors, MacroReplacerHelper* helper) {
    MacroReplacer replacer(helper);
    std::string copy = text;
    replacer.replace(copy, errors);
    return String(std::move(copy));
}

} // namespace Core
} // namespace Orvane

// The macro engine: expansion of the parsed form, the lookup of values in the helper chain, and
// the scratch areas that keep steady expansion free of allocations.
#include "macroengine.h"

#include "macrobuiltins.h"

#include <exception>
#include <list>
#include <utility>

namespace Orvane {
namespace Core {
namespace Internal {

namespace {

// Scratch stacks of finished expansions, for the next ones: a few slots taken and filled with
// atomic exchanges, so threads share them without a lock. Never destroyed, like the other caches.
class ScratchPool {
public:
    ScratchStack* take() {
        for (std::atomic<ScratchStack*>& slot : m_slots)
            if (ScratchStack* stack = slot.exchange(nullptr, std::memory_order_acquire))
                return stack;
        return nullptr;
    }
    void giveBack(ScratchStack* stack) {
        // Deep nesting is rare: the areas it needed are not kept.
        constexpr std::size_t KeepLevels = 16;
        if (stack->items.size() > KeepLevels) stack->items.resize(KeepLevels);
        for (std::atomic<ScratchStack*>& slot : m_slots) {
            ScratchStack* empty = nullptr;
            if (slot.compare_exchange_strong(empty, stack, std::memory_order_release)) return;
        }
        delete stack;
    }

private:
    std::atomic<ScratchStack*> m_slots[16] = {};
};

ScratchPool& scratchPool() {
    static ScratchPool* pool = new ScratchPool;
    return *pool;
}

} // namespace

ScratchStack* takeScratch() {
    return scratchPool().take();
}

void giveBackScratch(ScratchStack* stack) {
    scratchPool().giveBack(stack);
}

namespace {

const char* const kUnknownMacro = "unknown macro: ";

} // namespace

void MacroEngine::evaluate(const CompiledNode& node, std::string& out) {
    if (!step()) return;
    if (node.builtin && node.builtin->rawArguments) return; // a comment: nothing to evaluate
    bool known = true;
    const std::size_t errorsBefore = errors.size();
    if (node.builtin && node.args.empty()) {
        ArgValues none;
        std::string value;
        // A built-in that needs arguments, used without any, lets the other sources answer
        // first, so that a context value may share its name ("$(function)").
        if (node.builtin->needsArguments && helper) {
            const bool found = lookup(node.text, noArgs(), value, known);
            if (found || known || stopped())
                return insert(node, found, true, errorsBefore, value, out);
        }
        BuiltinCall call{*this, node.text, none, value};
        const bool ok = node.builtin->function(call);
        return insert(node, ok, known, errorsBefore, value, out);
    }
    ScratchLease scratch(scratchStack());
    if (!collectArgs(node, scratch->args)) return;
    scratch->value.clear();
    const bool ok = evaluate(node, scratch->args, scratch->value, scratch->list, known);
    insert(node, ok, known, errorsBefore, scratch->value, out);
}

bool MacroEngine::evaluate(const CompiledNode& node, ArgValues& args, std::string& value,
                           StringList& list, bool& known) {
    if (node.builtin) {
        BuiltinCall call{*this, node.text, args, value};
        return node.builtin->function(call);
    }
    if (!helper) {
        known = false;
        return false;
    }
    if (args.empty()) return lookup(node.text, noArgs(), value, known);
    // The list keeps its elements from the last use: resizing and assigning reuses them.
    std::list<std::string>& items = list.list();
    items.resize(args.size());
    auto item = items.begin();
    for (const ArgValue& arg : args)
        *item++ = *arg.value;
    return lookup(node.text, list, value, known);
}

void MacroEngine::insert(const CompiledNode& node, bool ok, bool known, std::size_t errorsBefore,
                         const std::string& value, std::string& out) {
    if (stopped()) return;
    if (!ok) {
        out += kNoValue;
        if (!known && errors.size() == errorsBefore) fail(kUnknownMacro + node.text);
        return;
    }
    if (!produce(value.size())) return;
    out += value;
}

template <typename Source> bool MacroEngine::callGuarded(const std::string& name, Source&& source) {
    // Executors and helpers are the caller's code: what they throw must not leave replace(), so
    // it becomes an error of the macro like any other failure.
    try {
        return source();
    } catch (const std::exception& e) {
        fail("macro '" + name + "' failed with an exception: " + e.what());
    } catch (...) {
        fail("macro '" + name + "' failed with an exception");
    }
    return false;
}

bool MacroEngine::lookup(const std::string& name, const StringList& args, std::string& value,
                         bool& known) {
    known = false;
    // A source that fails with an error of its own knows the name: the others are not asked.
    const std::size_t errorsBefore = errors.size();
    // A cap on the chain, so that a parent loop cannot hang an expansion.
    int hops = 0;
    for (MacroReplacerHelper* h = helper; h && hops < 256;
         h = MacroReplacerAccess::helper(*h).parent, ++hops) {
        MacroReplacerAccess::HelperData& data = MacroReplacerAccess::helper(*h);
        if (std::shared_ptr<const MacroExecutor> executor = data.find(name)) {
            known = true;
            value.clear();
            if (callGuarded(name, [&] { return (*executor)(name, args, value, errors, replacer); }))
                return true;
            if (stopped() || errors.size() != errorsBefore) break;
        }
        value.clear();
        if (callGuarded(name,
                        [&] { return h->getCustomValue(name, args, value, errors, session); }))
            return true;
        if (stopped() || errors.size() != errorsBefore) break;
    }
    known = known || errors.size() != errorsBefore;
    value.clear();
    return false;
}

bool expandWith(MacroReplacer* replacer, MacroReplacerHelper* helper, const CompiledTemplate* t,
                std::string& out, StringList& errors, MacroReplacer_RunTimeSession& session) {
    const std::size_t errorsBefore = errors.size();
    ExpansionScope scope(session, replacer);
    out.clear();
    if (t) {
        MacroEngine engine(session, replacer, helper, errors);
        if (t->constant && !t->deferred)
            out = t->text;
        else
            engine.expandTemplate(*t, out);
    }
    scope.finish(out);
    return errors.size() == errorsBefore;
}

} // namespace Internal
} // namespace Core
} // namespace Orvane

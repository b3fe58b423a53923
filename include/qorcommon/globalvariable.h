// Protected variables: values shared between threads that are reached only through a proxy
// holding their lock, and scope guards that release such locks or run an action at scope exit.
//
//     GlobalVariable<std::map<int, int>> table;
//     table->insert({1, 2});              // locked for the length of the expression
//     {
//         auto locked = table.access();   // locked while `locked` lives
//         locked->clear();
//     }
#pragma once

#include "qorcommon/assertion.h"
#include "qorcommon/export.h"
#include "qorcommon/mutex.h"

#include <functional>
#include <memory>
#include <utility>

namespace Orvane {
namespace Core {

/// Anything that can be locked for the length of an access.
/// Thread safety: thread-safe.
class QORCOMMON_API ProtectedVariable {
public:
    ProtectedVariable() = default;
    ProtectedVariable(const ProtectedVariable&) = delete;
    ProtectedVariable& operator=(const ProtectedVariable&) = delete;
    virtual ~ProtectedVariable();

    /// Takes the variable's lock.
    virtual void attach() = 0;
    /// Releases the lock taken by attach().
    virtual void detach() = 0;
};

/// The accessor of a protected variable `V`: holds the variable's lock while it lives.
/// Thread safety: reentrant.
template <class V> class GlobalVariableProxy {
public:
    using value_type = typename V::value_type;

    explicit GlobalVariableProxy(V& variable) : m_variable(&variable) { m_variable->attach(); }
    GlobalVariableProxy(GlobalVariableProxy&& other) noexcept : m_variable(other.m_variable) {
        other.m_variable = nullptr;
    }
    GlobalVariableProxy(const GlobalVariableProxy&) = delete;
    GlobalVariableProxy& operator=(const GlobalVariableProxy&) = delete;
    GlobalVariableProxy& operator=(GlobalVariableProxy&&) = delete;
    ~GlobalVariableProxy() { deactivate(); }

    /// Releases the lock early; the proxy gives no access afterwards.
    void deactivate() {
        if (!m_variable) return;
        V* variable = m_variable;
        m_variable = nullptr;
        variable->detach();
    }
    bool isActive() const { return m_variable != nullptr; }

    /// Whether the value exists (no check is reported).
    bool exists() const { return m_variable && m_variable->pointer(); }
    /// The value; null after a failed check when it does not exist (or the proxy was
    /// deactivated).
    value_type* get() const {
        value_type* _var = m_variable ? m_variable->pointer() : nullptr;
        QOR_CHECK(_var != nullptr);
        return _var;
    }
    value_type* operator->() const { return get(); }
    /// The value; only for variables known to exist (use get() otherwise).
    value_type& operator*() const { return *get(); }

private:
    V* m_variable;
};

/// A value of type T kept behind a lock from a MutexProvider. `P` is the concrete variable class;
/// its proxies are GlobalVariableProxy<P>.
/// Thread safety: thread-safe.
template <class T, class P> class AbstractGlobalVariable : public ProtectedVariable {
public:
    using value_type = T;
    using Proxy = GlobalVariableProxy<P>;

    ~AbstractGlobalVariable() override = default;

    void attach() override { m_provider->lock(); }
    void detach() override { m_provider->unlock(); }

    /// Locks the variable for as long as the returned proxy lives.
    Proxy access() { return Proxy(static_cast<P&>(*this)); }
    /// Locks the variable for the length of the expression: `variable->call()`.
    Proxy operator->() { return access(); }

    /// The value without locking (null when it does not exist); for callers that lock
    /// themselves, e.g. through a VariableDetacher after attach().
    T* pointer() const { return _var; }
    MutexProvider& provider() const { return *m_provider; }

protected:
    /// A null `provider` gives the variable its own; a given one must outlive the variable.
    AbstractGlobalVariable(T* value, MutexProvider* provider)
        : _var(value), m_ownProvider(provider ? nullptr : new MutexProvider),
          m_provider(provider ? provider : m_ownProvider.get()) {}

    /// Puts `value` in place of the current value under the lock and returns the old one.
    T* exchange(T* value) {
        attach();
        T* old = _var;
        _var = value;
        detach();
        return old;
    }

    T* _var;

private:
    std::unique_ptr<MutexProvider> m_ownProvider;
    MutexProvider* m_provider;
};

/// A protected value that the variable makes and owns.
/// Thread safety: thread-safe.
template <class T> class GlobalVariable : public AbstractGlobalVariable<T, GlobalVariable<T>> {
    using Base = AbstractGlobalVariable<T, GlobalVariable<T>>;

public:
    GlobalVariable() : Base(new T(), nullptr) {}
    explicit GlobalVariable(const T& value, MutexProvider* provider = nullptr)
        : Base(new T(value), provider) {}
    explicit GlobalVariable(T&& value, MutexProvider* provider = nullptr)
        : Base(new T(std::move(value)), provider) {}
    ~GlobalVariable() override { delete this->_var; }

    /// Deletes the value; later accesses fail their check until assign() makes a new one.
    void destroy() { delete this->exchange(nullptr); }
    /// Sets the value, making it again if it was destroyed.
    void assign(const T& value) {
        this->attach();
        if (this->_var) {
            *this->_var = value;
        } else {
            this->_var = new T(value);
        }
        this->detach();
    }
};

/// A protected pointer: empty until set, and it owns what it is given.
/// Thread safety: thread-safe.
template <class T>
class GlobalVariablePtr : public AbstractGlobalVariable<T, GlobalVariablePtr<T>> {
    using Base = AbstractGlobalVariable<T, GlobalVariablePtr<T>>;

public:
    explicit GlobalVariablePtr(T* value = nullptr, MutexProvider* provider = nullptr)
        : Base(value, provider) {}
    ~GlobalVariablePtr() override { delete this->_var; }

    /// Holds `value` and deletes the previous one.
    void set(T* value) { delete this->exchange(value); }
    /// Gives up the value without deleting it and returns it.
    T* take() { return this->exchange(nullptr); }
    void clear() { set(nullptr); }
};

/// Releases a protected variable's lock at scope exit (or at deactivate()).
/// Thread safety: reentrant.
class VariableDetacher {
public:
    explicit VariableDetacher(ProtectedVariable* variable) : m_variable(variable) {}
    explicit VariableDetacher(ProtectedVariable& variable) : m_variable(&variable) {}
    VariableDetacher(const VariableDetacher&) = delete;
    VariableDetacher& operator=(const VariableDetacher&) = delete;
    ~VariableDetacher() { deactivate(); }

    /// Releases the lock now and forgets the variable.
    void deactivate() {
        if (!m_variable) return;
        ProtectedVariable* variable = m_variable;
        m_variable = nullptr;
        variable->detach();
    }
    bool isActive() const { return m_variable != nullptr; }

private:
    ProtectedVariable* m_variable;
};

/// Runs an action at scope exit. Copies share the action, which runs once, when the last copy
/// goes: a Detacher can be returned or stored without the action running early or twice.
/// Thread safety: reentrant.
class Detacher {
public:
    explicit Detacher(std::function<void()> action)
        : m_action(std::make_shared<Action>(std::move(action))) {}
    Detacher(const Detacher&) = default;
    Detacher& operator=(const Detacher&) = default;
    ~Detacher() = default;

    /// Cancels the action for this and every copy.
    void dismiss() {
        if (m_action) m_action->function = nullptr;
    }

private:
    struct Action {
        explicit Action(std::function<void()> f) : function(std::move(f)) {}
        Action(const Action&) = delete;
        Action& operator=(const Action&) = delete;
        ~Action() {
            if (function) function();
        }
        std::function<void()> function;
    };
    std::shared_ptr<Action> m_action;
};

} // namespace Core
} // namespace Orvane

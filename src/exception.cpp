#include "qorcommon/exception.h"

#include <atomic>
#include <memory>
#include <typeinfo>
#include <utility>

namespace Orvane {
namespace Core {

namespace {
const char* const kJoint = "\n-----------\n";
} // namespace

// ---- Exception ------------------------------------------------------------------------------

struct Exception::Private : SharedPrivate {
    // what() must hand out a pointer that lives as long as the exception, and the short form can
    // only be made once the subclass is complete. Copies share this block but may differ in type
    // (a copy can slice), so the text is kept per dynamic type, in a list that only grows:
    // readers never take a lock.
    struct WhatText {
        const std::type_info* type;
        std::string text;
        WhatText* next;
    };

    Private() = default;
    explicit Private(std::shared_ptr<const std::exception> cause) : parent(std::move(cause)) {}
    Private(const Private&) = delete;
    Private& operator=(const Private&) = delete;
    ~Private() {
        for (WhatText* w = whatTexts.load(std::memory_order_acquire); w;) {
            WhatText* next = w->next;
            delete w;
            w = next;
        }
    }

    const WhatText* find(const std::type_info& type, const WhatText* from) const {
        for (const WhatText* w = from; w; w = w->next) {
            if (*w->type == type) return w;
        }
        return nullptr;
    }

    std::shared_ptr<const std::exception> parent;
    mutable std::atomic<WhatText*> whatTexts{nullptr};
};

Exception::Exception(std::exception* parent)
    : d(new Private(std::shared_ptr<const std::exception>(parent))) {}

Exception::Exception(const Exception& other) noexcept = default;
Exception& Exception::operator=(const Exception& other) noexcept = default;
Exception::~Exception() = default;

const char* Exception::what() const noexcept {
    const std::type_info& type = typeid(*this);
    Private::WhatText* head = d->whatTexts.load(std::memory_order_acquire);
    if (const Private::WhatText* known = d->find(type, head)) return known->text.c_str();
    try {
        auto* made = new Private::WhatText{&type, shortString().str(), head};
        while (!d->whatTexts.compare_exchange_weak(made->next, made, std::memory_order_acq_rel,
                                                   std::memory_order_acquire)) {
            // Another thread added a text meanwhile; it may be this type's.
            if (const Private::WhatText* known = d->find(type, made->next)) {
                delete made;
                return known->text.c_str();
            }
        }
        return made->text.c_str();
    } catch (...) {
        return "Orvane::Core::Exception";
    }
}

String Exception::asShortString() const {
    return shortString();
}

String Exception::asLongString() const {
    std::string text = longString().str();
    if (const std::exception* cause = parent()) {
        text += kJoint;
        if (const auto* ours = dynamic_cast<const Exception*>(cause)) {
            text += ours->asLongString().str();
        } else {
            text += cause->what();
        }
    }
    return String(std::move(text));
}

const std::exception* Exception::parent() const {
    return d->parent.get();
}

// ---- GeneralException -----------------------------------------------------------------------

struct GeneralException::Private : SharedPrivate {
    Private() = default;
    Private(std::string m, const CodeLocation& l) : message(std::move(m)), codeLocation(l) {}

    std::string message;
    CodeLocation codeLocation;
};

GeneralException::GeneralException(std::exception* parent) : Exception(parent) {}

GeneralException::GeneralException(const CodeLocation& codeLocation, std::exception* parent)
    : Exception(parent), d(new Private(std::string(), codeLocation)) {}

GeneralException::GeneralException(const std::string& message, const CodeLocation& codeLocation,
                                   std::exception* parent)
    : Exception(parent), d(new Private(message, codeLocation)) {}

GeneralException::GeneralException(const GeneralException& other) noexcept = default;
GeneralException& GeneralException::operator=(const GeneralException& other) noexcept = default;
GeneralException::~GeneralException() = default;

const std::string& GeneralException::message() const {
    return d->message;
}

const CodeLocation& GeneralException::codeLocation() const {
    return d->codeLocation;
}

String GeneralException::shortString() const {
    std::string text = d->message;
    if (!d->codeLocation.isEmpty()) {
        if (!text.empty()) text += "\n";
        text += d->codeLocation.asString().str();
    }
    return String(std::move(text));
}

String GeneralException::longString() const {
    return shortString();
}

// ---- OperationException ---------------------------------------------------------------------

struct OperationException::Private : SharedPrivate {
    Private() = default;
    explicit Private(const ErrorInfo& e) : errorInfo(e) {}

    ErrorInfo errorInfo;
};

OperationException::OperationException(const ErrorInfo& errorInfo, std::exception* parent)
    : Exception(parent), d(new Private(errorInfo)) {}

OperationException::OperationException(const OperationException& other) noexcept = default;
OperationException&
OperationException::operator=(const OperationException& other) noexcept = default;
OperationException::~OperationException() = default;

const ErrorInfo& OperationException::errorInfo() const {
    return d->errorInfo;
}

std::list<ErrorInfo> OperationException::errorInfoList() const {
    std::list<ErrorInfo> list;
    for (const std::exception* e = this; e;) {
        const auto* ours = dynamic_cast<const Exception*>(e);
        if (!ours) break;
        if (const auto* operation = dynamic_cast<const OperationException*>(ours)) {
            list.push_back(operation->errorInfo());
        }
        e = ours->parent();
    }
    return list;
}

String OperationException::shortString() const {
    return d->errorInfo.asShortString();
}

String OperationException::longString() const {
    return d->errorInfo.asLongString();
}

} // namespace Core
} // namespace Orvane

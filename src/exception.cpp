#include "qorcommon/exception.h"

#include <memory>
#include <mutex>
#include <utility>

namespace Orvane {
namespace Core {

namespace {
const char* const kJoint = "\n-----------\n";
} // namespace

// ---- Exception ------------------------------------------------------------------------------

struct Exception::Private {
    explicit Private(std::shared_ptr<const std::exception> cause) : parent(std::move(cause)) {}

    std::shared_ptr<const std::exception> parent;
    // what() must hand out a pointer that lives as long as the exception; the short form is made
    // once, on first request, because the subclass is not complete while the base is built.
    std::once_flag whatOnce;
    std::string whatText;
};

Exception::Exception(std::exception* parent)
    : d(new Private(std::shared_ptr<const std::exception>(parent))) {}

Exception::Exception(const Exception& other)
    : std::exception(other), d(new Private(other.d->parent)) {}

Exception& Exception::operator=(const Exception& other) {
    if (this != &other) {
        std::exception::operator=(other);
        Private* fresh = new Private(other.d->parent);
        delete d;
        d = fresh;
    }
    return *this;
}

Exception::~Exception() {
    delete d;
}

const char* Exception::what() const noexcept {
    try {
        std::call_once(d->whatOnce, [this] { d->whatText = shortString().str(); });
        return d->whatText.c_str();
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

struct GeneralException::Private {
    std::string message;
    CodeLocation codeLocation;
};

GeneralException::GeneralException(std::exception* parent) : Exception(parent), d(new Private) {}

GeneralException::GeneralException(const CodeLocation& codeLocation, std::exception* parent)
    : Exception(parent), d(new Private{std::string(), codeLocation}) {}

GeneralException::GeneralException(const std::string& message, const CodeLocation& codeLocation,
                                   std::exception* parent)
    : Exception(parent), d(new Private{message, codeLocation}) {}

GeneralException::GeneralException(const GeneralException& other)
    : Exception(other), d(new Private(*other.d)) {}

GeneralException& GeneralException::operator=(const GeneralException& other) {
    if (this != &other) {
        Exception::operator=(other);
        *d = *other.d;
    }
    return *this;
}

GeneralException::~GeneralException() {
    delete d;
}

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

struct OperationException::Private {
    ErrorInfo errorInfo;
};

OperationException::OperationException(const ErrorInfo& errorInfo, std::exception* parent)
    : Exception(parent), d(new Private{errorInfo}) {}

OperationException::OperationException(const OperationException& other)
    : Exception(other), d(new Private(*other.d)) {}

OperationException& OperationException::operator=(const OperationException& other) {
    if (this != &other) {
        Exception::operator=(other);
        *d = *other.d;
    }
    return *this;
}

OperationException::~OperationException() {
    delete d;
}

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

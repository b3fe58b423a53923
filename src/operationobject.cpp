#include "qorcommon/operationobject.h"

#include "qorcommon/logging.h"
#include "qorcommon/result.h"

namespace Orvane {
namespace Core {

// ---- OperationObject ------------------------------------------------------------------------

struct OperationObject::Private {
    ErrorInfo current;
    // Frees the storage objects with the operation object.
    Object storages;
};

OperationObject::OperationObject(Object* parent) : Object(Standalone, parent), d(new Private) {}

OperationObject::OperationObject(const OperationObject& other) : Object(other), d(new Private) {
    d->current = other.d->current;
}

OperationObject& OperationObject::operator=(const OperationObject& other) {
    if (this != &other) {
        Object::operator=(other);
        d->current = other.d->current;
    }
    return *this;
}

OperationObject::~OperationObject() {
    delete d;
}

const ErrorInfo& OperationObject::getCurrentErrorInfo() const {
    return d->current;
}

const std::string& OperationObject::getErrorText() const {
    return d->current.errorText();
}

short OperationObject::getErrorCode() const {
    return static_cast<short>(d->current.errorCode());
}

void OperationObject::showError(const CodeLocation& location, int x, int y) const {
    Result(d->current, false).showError(location, x, y);
}

ErrorInfo& OperationObject::currentErrorInfo() {
    return d->current;
}

void OperationObject::setCurrentErrorInfo(const ErrorInfo& errorInfo) {
    d->current = errorInfo;
}

Object* OperationObject::parentOfStorages() const {
    return &d->storages;
}

void OperationObject::endLogging(LoggingFrame* frame, const CodeLocation& location) const {
    LoggingFrame::end(frame, location, DateTime::now());
}

// ---- ErrorInfoBuilder -----------------------------------------------------------------------

ErrorInfoBuilder::ErrorInfoBuilder() : d(nullptr) {}

ErrorInfoBuilder::ErrorInfoBuilder(const ErrorInfoBuilder&) : d(nullptr) {}

ErrorInfoBuilder& ErrorInfoBuilder::operator=(const ErrorInfoBuilder&) {
    return *this;
}

ErrorInfoBuilder::~ErrorInfoBuilder() = default;

} // namespace Core
} // namespace Orvane

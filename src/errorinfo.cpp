#include "qorcommon/errorinfo.h"

#include <utility>

namespace Orvane {
namespace Core {

struct ErrorInfo::Private {
    std::string text;
    CodeLocation codeLocation;
    std::string hint;
    long errorCode = 0;
    DateTime dateTime;
    ModuleInfo moduleInfo;
    CustomInfo customInfo;
    bool empty = true;
};

ErrorInfo::ErrorInfo() : d(new Private) {
    d->dateTime = DateTime::now();
}

ErrorInfo::ErrorInfo(const std::string& text, const DateTime& dateTime) : d(new Private) {
    d->text = text;
    d->errorCode = -1;
    d->dateTime = dateTime;
    d->empty = false;
}

ErrorInfo::ErrorInfo(const std::string& text, const std::string& hint, const DateTime& dateTime)
    : ErrorInfo(text, dateTime) {
    d->hint = hint;
}

ErrorInfo::ErrorInfo(const std::string& text, const CodeLocation& codeLocation,
                     const DateTime& dateTime)
    : ErrorInfo(text, dateTime) {
    d->codeLocation = codeLocation;
}

ErrorInfo::ErrorInfo(const std::string& text, const std::string& hint,
                     const CodeLocation& codeLocation, const DateTime& dateTime)
    : ErrorInfo(text, hint, dateTime) {
    d->codeLocation = codeLocation;
}

ErrorInfo::ErrorInfo(const ModuleInfo& moduleInfo, const CodeLocation& codeLocation, long errorCode,
                     const std::string& text, const std::string& hint, const CustomInfo& customInfo,
                     const DateTime& dateTime)
    : ErrorInfo(text, hint, codeLocation, dateTime) {
    d->errorCode = errorCode;
    d->moduleInfo = moduleInfo;
    d->customInfo = customInfo;
}

ErrorInfo::ErrorInfo(const ErrorInfo& other) : d(new Private(*other.ensure())) {}

ErrorInfo::ErrorInfo(ErrorInfo&& other) noexcept : d(other.d) {
    other.d = nullptr;
}

ErrorInfo& ErrorInfo::operator=(const ErrorInfo& other) {
    if (this != &other) *ensure() = *other.ensure();
    return *this;
}

ErrorInfo& ErrorInfo::operator=(ErrorInfo&& other) noexcept {
    std::swap(d, other.d);
    return *this;
}

ErrorInfo::~ErrorInfo() {
    delete d;
}

ErrorInfo::Private* ErrorInfo::ensure() const {
    if (!d) d = new Private;
    return d;
}

const std::string& ErrorInfo::errorText() const {
    return ensure()->text;
}

const std::string& ErrorInfo::hint() const {
    return ensure()->hint;
}

long ErrorInfo::errorCode() const {
    return ensure()->errorCode;
}

const DateTime& ErrorInfo::dateTime() const {
    return ensure()->dateTime;
}

const CodeLocation& ErrorInfo::codeLocation() const {
    return ensure()->codeLocation;
}

const ModuleInfo& ErrorInfo::moduleInfo() const {
    return ensure()->moduleInfo;
}

const CustomInfo& ErrorInfo::customInfo() const {
    return ensure()->customInfo;
}

CustomInfo& ErrorInfo::customInfo() {
    return ensure()->customInfo;
}

bool ErrorInfo::isEmpty() const {
    return ensure()->empty;
}

void ErrorInfo::setErrorText(const std::string& text) {
    ensure()->text = text;
    d->empty = false;
}

void ErrorInfo::setHint(const std::string& hint) {
    ensure()->hint = hint;
    d->empty = false;
}

void ErrorInfo::setErrorCode(long errorCode) {
    ensure()->errorCode = errorCode;
    d->empty = false;
}

void ErrorInfo::setCodeLocation(const CodeLocation& codeLocation) {
    ensure()->codeLocation = codeLocation;
    d->empty = false;
}

void ErrorInfo::setDateTime(const DateTime& dateTime) {
    ensure()->dateTime = dateTime;
}

void ErrorInfo::setModuleInfo(const ModuleInfo& moduleInfo) const {
    ensure()->moduleInfo = moduleInfo;
}

String ErrorInfo::asShortString() const {
    const Private* p = ensure();
    return String("[" + p->moduleInfo.asString().str() + "] " + p->text + " (" +
                  std::to_string(p->errorCode) + ") ");
}

String ErrorInfo::asLongString() const {
    const Private* p = ensure();
    std::string text;
    if (!p->moduleInfo.isEmpty()) text += "Module: " + p->moduleInfo.asString().str() + "\n";
    text += "Location: " + p->codeLocation.asString().str() + "\n";
    text += "Date: " + p->dateTime.asISODateTime().str() + "\n";
    if (!p->text.empty()) text += "Error Text: " + p->text + "\n";
    if (p->errorCode != -1) text += "Error Code: " + std::to_string(p->errorCode) + "\n";
    text += "Error Hint: \n" + p->hint + "\n";
    for (const auto& pair : p->customInfo.values()) {
        text += pair.first + ": " + pair.second + "\n";
    }
    return String(std::move(text));
}

} // namespace Core
} // namespace Orvane

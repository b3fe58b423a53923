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

// A default record is stamped with its time, so it has a block of its own.
ErrorInfo::ErrorInfo() : d(new Private) {
    d.write()->dateTime = DateTime::now();
}

ErrorInfo::ErrorInfo(const std::string& text, const DateTime& dateTime) : d(new Private) {
    Private* p = d.write();
    p->text = text;
    p->errorCode = -1;
    p->dateTime = dateTime;
    p->empty = false;
}

ErrorInfo::ErrorInfo(const std::string& text, const std::string& hint, const DateTime& dateTime)
    : ErrorInfo(text, dateTime) {
    d.write()->hint = hint;
}

ErrorInfo::ErrorInfo(const std::string& text, const CodeLocation& codeLocation,
                     const DateTime& dateTime)
    : ErrorInfo(text, dateTime) {
    d.write()->codeLocation = codeLocation;
}

ErrorInfo::ErrorInfo(const std::string& text, const std::string& hint,
                     const CodeLocation& codeLocation, const DateTime& dateTime)
    : ErrorInfo(text, hint, dateTime) {
    d.write()->codeLocation = codeLocation;
}

ErrorInfo::ErrorInfo(const ModuleInfo& moduleInfo, const CodeLocation& codeLocation, long errorCode,
                     const std::string& text, const std::string& hint, const CustomInfo& customInfo,
                     const DateTime& dateTime)
    : ErrorInfo(text, hint, codeLocation, dateTime) {
    Private* p = d.write();
    p->errorCode = errorCode;
    p->moduleInfo = moduleInfo;
    p->customInfo = customInfo;
}

ErrorInfo::ErrorInfo(const ErrorInfo& other) = default;
ErrorInfo::ErrorInfo(ErrorInfo&& other) noexcept = default;
ErrorInfo& ErrorInfo::operator=(const ErrorInfo& other) = default;
ErrorInfo& ErrorInfo::operator=(ErrorInfo&& other) noexcept = default;
ErrorInfo::~ErrorInfo() = default;

const std::string& ErrorInfo::errorText() const {
    return d->text;
}

const std::string& ErrorInfo::hint() const {
    return d->hint;
}

long ErrorInfo::errorCode() const {
    return d->errorCode;
}

const DateTime& ErrorInfo::dateTime() const {
    return d->dateTime;
}

const CodeLocation& ErrorInfo::codeLocation() const {
    return d->codeLocation;
}

const ModuleInfo& ErrorInfo::moduleInfo() const {
    return d->moduleInfo;
}

const CustomInfo& ErrorInfo::customInfo() const {
    return d->customInfo;
}

CustomInfo& ErrorInfo::customInfo() {
    return d.write()->customInfo;
}

bool ErrorInfo::isEmpty() const {
    return d->empty;
}

void ErrorInfo::setErrorText(const std::string& text) {
    Private* p = d.write();
    p->text = text;
    p->empty = false;
}

void ErrorInfo::setHint(const std::string& hint) {
    Private* p = d.write();
    p->hint = hint;
    p->empty = false;
}

void ErrorInfo::setErrorCode(long errorCode) {
    Private* p = d.write();
    p->errorCode = errorCode;
    p->empty = false;
}

void ErrorInfo::setCodeLocation(const CodeLocation& codeLocation) {
    Private* p = d.write();
    p->codeLocation = codeLocation;
    p->empty = false;
}

void ErrorInfo::setDateTime(const DateTime& dateTime) {
    d.write()->dateTime = dateTime;
}

void ErrorInfo::setModuleInfo(const ModuleInfo& moduleInfo) const {
    d.write()->moduleInfo = moduleInfo;
}

String ErrorInfo::asShortString() const {
    const Private* p = d.get();
    return String("[" + p->moduleInfo.asString().str() + "] " + p->text + " (" +
                  std::to_string(p->errorCode) + ") ");
}

String ErrorInfo::asLongString() const {
    const Private* p = d.get();
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

#include "qorcommon/guirequest.h"

#include "qorcommon/applicationinfo.h"

#include <algorithm>

namespace Orvane {
namespace Core {

struct GuiRequest::Private {
    std::string name;
    std::vector<Field> fields;
    int x = NoPosition;
    int y = NoPosition;
};

GuiRequest::GuiRequest() = default;
GuiRequest::GuiRequest(const std::string& name)
    : d(new Private{name, {}, NoPosition, NoPosition}) {}
GuiRequest::GuiRequest(const GuiRequest& other) = default;
GuiRequest::GuiRequest(GuiRequest&& other) noexcept = default;
GuiRequest& GuiRequest::operator=(const GuiRequest& other) = default;
GuiRequest& GuiRequest::operator=(GuiRequest&& other) noexcept = default;
GuiRequest::~GuiRequest() = default;

const std::string& GuiRequest::name() const {
    return d->name;
}

const std::vector<GuiRequest::Field>& GuiRequest::fields() const {
    return d->fields;
}

namespace {

template <class Fields> auto findField(Fields& fields, const std::string& name) {
    return std::find_if(fields.begin(), fields.end(),
                        [&](const GuiRequest::Field& field) { return field.first == name; });
}

} // namespace

bool GuiRequest::hasField(const std::string& name) const {
    return findField(d->fields, name) != d->fields.end();
}

const std::string& GuiRequest::field(const std::string& name) const {
    static const std::string* const none = new std::string;
    const auto found = findField(d->fields, name);
    return found == d->fields.end() ? *none : found->second;
}

void GuiRequest::setField(const std::string& name, const std::string& value) {
    std::vector<Field>& fields = d.write()->fields;
    const auto found = findField(fields, name);
    if (found != fields.end())
        found->second = value;
    else
        fields.emplace_back(name, value);
}

int GuiRequest::x() const {
    return d->x;
}

int GuiRequest::y() const {
    return d->y;
}

void GuiRequest::setPosition(int x, int y) {
    Private* p = d.write();
    p->x = x;
    p->y = y;
}

GuiRequest GuiRequest::showError(const ErrorInfo& errorInfo) {
    const ModuleInfo& module = errorInfo.moduleInfo();
    GuiRequest request(ShowErrorName);
    request.setField("err_datetime", errorInfo.dateTime().asISODateTime().str());
    request.setField("err_stationName", ApplicationInfo::computerName());
    request.setField("err_errorCode", errorInfo.errorCode() == -1
                                          ? std::string()
                                          : std::to_string(errorInfo.errorCode()));
    request.setField("err_errorText", errorInfo.errorText());
    request.setField("err_module", module.name());
    request.setField("err_moduleVer",
                     module.version().isNull() ? std::string() : module.version().toString());
    request.setField("err_function", errorInfo.codeLocation().function());
    request.setField("err_errorHint", errorInfo.hint());
    // The complete record, annotations included, as the form's details: nothing of the error
    // is lost by showing it.
    request.setField("err_capsError", errorInfo.asLongString().str());
    request.setField("err_sourcePosition",
                     errorInfo.codeLocation().asString(std::string("$(file):$(line)")).str());
    return request;
}

GuiRequest GuiRequest::showWarning(const ErrorInfo& warning, int autoCloseDelaySeconds) {
    const ModuleInfo& module = warning.moduleInfo();
    GuiRequest request(ShowWarningName);
    request.setField("warn_station", ApplicationInfo::computerName());
    request.setField("warn_errorText", warning.errorText());
    request.setField("warn_module", module.name());
    request.setField("warn_moduleVer",
                     module.version().isNull() ? std::string() : module.version().toString());
    request.setField("#warn_auto_close_delay",
                     std::to_string(autoCloseDelaySeconds > 0 ? autoCloseDelaySeconds : 0));
    return request;
}

GuiRequest GuiRequest::logon(const std::string& application) {
    GuiRequest request(LogonName);
    request.setField("logon_application", application);
    request.setField("logon_station", ApplicationInfo::computerName());
    return request;
}

GuiRequest GuiRequest::logonAnswer(const std::string& user, const std::string& password) {
    GuiRequest answer(LogonName);
    answer.setField("logon_user", user);
    answer.setField("*logon_password", password);
    return answer;
}

} // namespace Core
} // namespace Orvane

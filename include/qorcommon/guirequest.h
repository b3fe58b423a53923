// Requests to the user: a named form with ordered, named text fields.
//
//     GuiRequest request = GuiRequest::showError(result.errorInfo());
//     guiShowError(request);                     // qorcommon/guiprovider.h
#pragma once

#include "qorcommon/errorinfo.h"
#include "qorcommon/export.h"
#include "qorcommon/privateptr.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace Orvane {
namespace Core {

/// A form to show: its name and its fields in order. A field name's first character gives its
/// kind: "#" a whole number, "*" a secret that is never echoed or written out, anything else text.
/// Thread safety: reentrant.
class QORCOMMON_API GuiRequest {
public:
    using Field = std::pair<std::string, std::string>;

    static constexpr const char* ShowErrorName = "show_error";
    static constexpr const char* ShowWarningName = "show_warning";
    static constexpr const char* LogonName = "logon";
    /// The position value that lets the provider choose.
    static constexpr int NoPosition = -1;

    GuiRequest();
    explicit GuiRequest(const std::string& name);
    GuiRequest(const GuiRequest& other);
    GuiRequest(GuiRequest&& other) noexcept;
    GuiRequest& operator=(const GuiRequest& other);
    GuiRequest& operator=(GuiRequest&& other) noexcept;
    ~GuiRequest();

    const std::string& name() const;
    const std::vector<Field>& fields() const;
    bool hasField(const std::string& name) const;
    /// The value of a field; "" when there is none.
    const std::string& field(const std::string& name) const;
    /// Sets the value of a field in its place, or appends the field when it is new.
    void setField(const std::string& name, const std::string& value);

    /// The suggested screen position of the form; NoPosition lets the provider choose.
    int x() const;
    int y() const;
    void setPosition(int x, int y);

    static bool isNumberField(const std::string& name) { return !name.empty() && name[0] == '#'; }
    static bool isSecretField(const std::string& name) { return !name.empty() && name[0] == '*'; }

    /// "show_error" with err_datetime, err_stationName, err_errorCode, err_errorText, err_module,
    /// err_moduleVer, err_function, err_errorHint, err_capsError and err_sourcePosition, in this
    /// order. err_capsError is the complete record (ErrorInfo::asLongString, annotations
    /// included) for a details section; err_sourcePosition is the record's location in the form
    /// "$(file):$(line)".
    static GuiRequest showError(const ErrorInfo& errorInfo);
    /// "show_warning" with warn_station, warn_errorText, warn_module, warn_moduleVer and
    /// #warn_auto_close_delay (seconds; 0 keeps the form open until the user closes it).
    static GuiRequest showWarning(const ErrorInfo& warning, int autoCloseDelaySeconds = 0);
    /// "logon" with logon_application and logon_station.
    static GuiRequest logon(const std::string& application);
    /// The questions of a log-on form, pre-filled: logon_user and *logon_password.
    static GuiRequest logonAnswer(const std::string& user = std::string(),
                                  const std::string& password = std::string());

private:
    struct Private;
    PrivatePtr<Private> d;
};

} // namespace Core
} // namespace Orvane

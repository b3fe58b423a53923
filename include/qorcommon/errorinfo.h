// Error records: the record itself (ErrorInfo) and the source position where an error arose
// (CodeLocation). The key/value annotations of both (CustomInfo) have a header of their own,
// included here.
//
// All three are values: copies are deep and independent. They are not synchronised; a record is
// handed from thread to thread by copying it.
#pragma once

#include "qorcommon/custominfo.h"
#include "qorcommon/datetime.h"
#include "qorcommon/export.h"
#include "qorcommon/privateptr.h"
#include "qorcommon/moduleinfo.h"
#include "qorcommon/string.h"
#include "qorcommon/stringlist.h"

#include <map>
#include <string>
#include <utility>

namespace Orvane {
namespace Core {

/// Where something happened in the source: file, line, function, a comment and annotations.
///
/// The function is given with the Language in which its text was written; setFunction reduces
/// the signatures that C++ compilers supply to a plain qualified name, so that
/// "virtual int Orvane::Core::Foo::bar(int) const" is kept as "Orvane::Core::Foo::bar".
/// QOR_CODE_LOCATION (below) makes the location of the place where it is written.
/// Thread safety: reentrant.
class QORCOMMON_API CodeLocation {
public:
    /// How the function text was written, and so how setFunction reduces it.
    enum Language : int {
        /// No function was given.
        NoLanguage = -1,
        /// A name written by hand, kept as written (outer blanks removed).
        Plain = 0,
        /// C's __func__: an identifier, kept as written.
        C = 1,
        /// What a C++ compiler supplies: GCC's and Clang's __PRETTY_FUNCTION__, MSVC's
        /// __FUNCSIG__ or __FUNCTION__, or __func__. Reduced to the qualified name: the return
        /// type, calling convention, parameters, qualifiers and template arguments are dropped
        /// ("static void ns::A<T>::f(int) [with T = int]" gives "ns::A::f"); a lambda keeps its
        /// place ("ns::f()::<lambda(int)>" gives "ns::f::<lambda>"). A text that cannot be read
        /// as a signature is kept as written.
        Cpp = 2
    };

    /// An empty location: no file, line -1, no function.
    CodeLocation();
    /// `position` is "file:line" (see setPosition).
    explicit CodeLocation(const std::string& position);
    CodeLocation(const std::string& file, int line);
    CodeLocation(const std::string& position, const std::string& comment);
    /// A third string after file and line is the comment, not the function.
    CodeLocation(const std::string& file, int line, const std::string& comment);
    CodeLocation(const std::string& position, const std::string& comment,
                 const CustomInfo& customInfo);
    CodeLocation(const std::string& file, int line, const std::string& comment,
                 const CustomInfo& customInfo);
    CodeLocation(const char* function, Language language);
    CodeLocation(const char* function, Language language, const std::string& comment);
    CodeLocation(const char* function, Language language, const std::string& comment,
                 const CustomInfo& customInfo);
    CodeLocation(const std::string& position, const char* function, Language language);
    CodeLocation(const std::string& position, const char* function, Language language,
                 const std::string& comment);
    CodeLocation(const std::string& position, const char* function, Language language,
                 const std::string& comment, const CustomInfo& customInfo);
    CodeLocation(const std::string& file, int line, const char* function, Language language);
    CodeLocation(const std::string& file, int line, const char* function, Language language,
                 const std::string& comment);
    CodeLocation(const std::string& file, int line, const char* function, Language language,
                 const std::string& comment, const CustomInfo& customInfo);
    CodeLocation(const CodeLocation& other);
    CodeLocation(CodeLocation&& other) noexcept;
    CodeLocation& operator=(const CodeLocation& other);
    CodeLocation& operator=(CodeLocation&& other) noexcept;
    ~CodeLocation();

    const std::string& file() const;
    /// The line, or a negative value when there is none.
    int line() const;
    /// The (reduced) function name; empty when none was given.
    const std::string& function() const;
    const std::string& comment() const;
    Language language() const;
    const CustomInfo& customInfo() const;
    CustomInfo& customInfo();
    /// One annotation, or "" when the key is absent.
    const std::string& customInfo(const std::string& key) const;
    /// True only for a default-constructed location.
    bool isEmpty() const;

    /// Sets the function from a text written in `language` (see Language). A null text is
    /// reported as "codeLocation->function" and leaves the function as it was.
    void setFunction(const char* function, Language language);
    void setFile(const std::string& file);
    void setLine(int line);
    void setComment(const std::string& comment);
    void setCustomInfo(const CustomInfo& customInfo);

    /// The function name that setFunction keeps for `function` written in `language`.
    static std::string reduceFunction(const std::string& function, Language language);

    /// "file:line: function (comment)": the file or "(unknown)"; ":" and the line when it is not
    /// negative; ": ", the function and one blank when a function is set (the blank is kept even
    /// without a comment); "(", the comment and ")" when a comment is set.
    String asString() const;
    /// Only "file:line" ("(unknown)" without a file; no ":line" without a line).
    String locationAsString() const;
    /// `format` expanded by the macro replacer (qorcommon/macroreplacer.h) with $(file), $(line)
    /// (empty without a line), $(function), $(comment) and $(custom_info:<key>[,<default>]);
    /// "$(file):$(line)" is the position form.
    String asString(const std::string& format) const;
    /// As above; the error texts of the expansion are appended to `unresolved`.
    String asString(const std::string& format, StringList& unresolved) const;

    bool operator==(const CodeLocation& other) const;
    bool operator!=(const CodeLocation& other) const { return !(*this == other); }

private:
    /// Reads "file:line": the text is split at ":", the first part is the file and the second,
    /// when present, the line (its leading decimal number; none gives no line). A drive letter
    /// ("C:\src\a.cpp:12") stays with the file, so Windows paths read as they are written.
    void setPosition(const std::string& position);

    struct Private;
    PrivatePtr<Private> d;
};

/// An error: text, code, hint for the user, where and when it arose, the module that raised it
/// and annotations.
/// Thread safety: reentrant.
class QORCOMMON_API ErrorInfo {
public:
    /// An empty record: code 0, no text, the time of construction.
    ErrorInfo();
    // The constructors with a text give code -1, "no code". The time defaults to now.
    explicit ErrorInfo(const std::string& text, const DateTime& dateTime = DateTime::now());
    ErrorInfo(const std::string& text, const std::string& hint,
              const DateTime& dateTime = DateTime::now());
    ErrorInfo(const std::string& text, const CodeLocation& codeLocation,
              const DateTime& dateTime = DateTime::now());
    ErrorInfo(const std::string& text, const std::string& hint, const CodeLocation& codeLocation,
              const DateTime& dateTime = DateTime::now());
    ErrorInfo(const ModuleInfo& moduleInfo, const CodeLocation& codeLocation, long errorCode,
              const std::string& text, const std::string& hint = std::string(),
              const CustomInfo& customInfo = CustomInfo(),
              const DateTime& dateTime = DateTime::now());
    ErrorInfo(const ErrorInfo& other);
    ErrorInfo(ErrorInfo&& other) noexcept;
    ErrorInfo& operator=(const ErrorInfo& other);
    ErrorInfo& operator=(ErrorInfo&& other) noexcept;
    ~ErrorInfo();

    const std::string& errorText() const;
    const std::string& hint() const;
    /// The code; -1 means that the error has none.
    long errorCode() const;
    const DateTime& dateTime() const;
    const CodeLocation& codeLocation() const;
    const ModuleInfo& moduleInfo() const;
    const CustomInfo& customInfo() const;
    /// For adding annotations in place.
    CustomInfo& customInfo();
    /// True for a record made by the default constructor that has not been given a text, hint,
    /// code or location since. Time, module and annotations are stamps and do not count.
    bool isEmpty() const;

    void setErrorText(const std::string& text);
    void setHint(const std::string& hint);
    void setErrorCode(long errorCode);
    void setCodeLocation(const CodeLocation& codeLocation);
    void setDateTime(const DateTime& dateTime);
    /// Const on purpose: a record can be stamped with its module as it leaves a module, even
    /// where it is only held as const.
    void setModuleInfo(const ModuleInfo& moduleInfo) const;

    /// "[module] text (code) ", with the trailing blank.
    String asShortString() const;
    /// One line each, every line ending in "\n":
    ///     Module: <module>              (only when the module is not empty)
    ///     Location: <location>
    ///     Date: <ISO date>
    ///     Error Text: <text>            (only when there is a text)
    ///     Error Code: <code>            (only when the code is not -1)
    ///     Error Hint:
    ///     <hint>                        (always, also when empty)
    ///     <key>: <value>                (one per annotation, in key order)
    /// The "Error Hint: " label keeps its trailing blank.
    String asLongString() const;
    /// `format` expanded by the macro replacer (qorcommon/macroreplacer.h) with this record as the
    /// source: $(error_text), $(error_code), $(hint), $(date[:{iso|posix|<DateTime format>}]),
    /// $(module), $(module_name), $(module_type), $(module_version),
    /// $(code_location[:<CodeLocation format>]) (without a format: codeLocation().asString()),
    /// the location's $(file), $(line), $(function) and $(comment), and
    /// $(custom_info:<key>[,<default>]) over the record's annotations.
    String asString(const std::string& format) const;
    /// As above; the error texts of the expansion are appended to `unresolved`.
    String asString(const std::string& format, StringList& unresolved) const;

private:
    struct Private;
    // Mutable for setModuleInfo.
    mutable PrivatePtr<Private> d;
};

} // namespace Core
} // namespace Orvane

/// The compiler's text for the enclosing function, for CodeLocation::Cpp.
#if defined(_MSC_VER)
#define QOR_FUNCTION_SIGNATURE __FUNCSIG__
#elif defined(__GNUC__) || defined(__clang__)
#define QOR_FUNCTION_SIGNATURE __PRETTY_FUNCTION__
#else
#define QOR_FUNCTION_SIGNATURE __func__
#endif

/// The CodeLocation of the place where it is written: file, line and the enclosing function.
#define QOR_CODE_LOCATION                                                                          \
    ::Orvane::Core::CodeLocation(__FILE__, __LINE__, QOR_FUNCTION_SIGNATURE,                       \
                                 ::Orvane::Core::CodeLocation::Cpp)
/// As QOR_CODE_LOCATION, with a comment.
#define QOR_CODE_LOCATION_COMMENT(comment)                                                         \
    ::Orvane::Core::CodeLocation(__FILE__, __LINE__, QOR_FUNCTION_SIGNATURE,                       \
                                 ::Orvane::Core::CodeLocation::Cpp, (comment))

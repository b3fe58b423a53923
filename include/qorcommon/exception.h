// Exceptions that carry an error description and the exception that caused them.
//
//     try {
//         parse(file);
//     } catch (const std::exception& e) {
//         throw OperationException(ErrorInfo("cannot read settings", QOR_CODE_LOCATION),
//                                  new std::runtime_error(e.what()));
//     }
//
// asLongString() follows the chain of causes to its end, joining the parts with a line of
// dashes.
#pragma once

#include "qorcommon/errorinfo.h"
#include "qorcommon/export.h"
#include "qorcommon/privateptr.h"
#include "qorcommon/string.h"

#include <exception>
#include <list>
#include <string>

namespace Orvane {
namespace Core {

/// Base of the library's exceptions: a standard exception with an optional cause.
///
/// The exception takes ownership of the cause given to its constructor (allocate it with new).
/// Causes are never changed once attached, so copies of an exception share the one cause
/// chain instead of cloning it: copying is cheap and never slices a cause whose type it does not
/// know, and the chain is freed with the last copy that holds it. The rest of an exception's
/// record is shared the same way, so copying an exception never throws.
/// Thread safety: reentrant (what() may also be called on one object from several threads).
class QORCOMMON_API Exception : public std::exception {
public:
    ~Exception() override;

    /// The short form; the text lives as long as the exception.
    const char* what() const noexcept override;
    /// The subclass's short form.
    virtual String asShortString() const;
    /// The subclass's long form; then, for each cause down the chain, "\n-----------\n" and the
    /// cause's long form (its what() when it is not one of the library's exceptions).
    virtual String asLongString() const;

    /// The cause, or null.
    const std::exception* parent() const;

protected:
    explicit Exception(std::exception* parent = nullptr);
    Exception(const Exception& other) noexcept;
    Exception& operator=(const Exception& other) noexcept;

    virtual String shortString() const = 0;
    virtual String longString() const = 0;

private:
    struct Private;
    SharedPrivatePtr<Private> d;
};

/// An exception with a message and the place where it was raised.
/// Thread safety: reentrant.
class QORCOMMON_API GeneralException : public Exception {
public:
    explicit GeneralException(std::exception* parent = nullptr);
    explicit GeneralException(const CodeLocation& codeLocation, std::exception* parent = nullptr);
    GeneralException(const std::string& message, const CodeLocation& codeLocation,
                     std::exception* parent = nullptr);
    GeneralException(const GeneralException& other) noexcept;
    GeneralException& operator=(const GeneralException& other) noexcept;
    ~GeneralException() override;

    const std::string& message() const;
    const CodeLocation& codeLocation() const;

protected:
    /// The message and the location's asString() on the next line; either alone when the other
    /// is missing (an empty message, or a default-constructed location).
    String shortString() const override;
    /// The same as shortString().
    String longString() const override;

private:
    struct Private;
    SharedPrivatePtr<Private> d;
};

/// An exception that carries an error record.
/// Thread safety: reentrant.
class QORCOMMON_API OperationException : public Exception {
public:
    explicit OperationException(const ErrorInfo& errorInfo, std::exception* parent = nullptr);
    OperationException(const OperationException& other) noexcept;
    OperationException& operator=(const OperationException& other) noexcept;
    ~OperationException() override;

    const ErrorInfo& errorInfo() const;
    /// The records of this exception and of every OperationException down the chain of causes,
    /// outermost first (the chain is followed through the library's other exceptions too).
    std::list<ErrorInfo> errorInfoList() const;

protected:
    /// The record's asShortString().
    String shortString() const override;
    /// The record's asLongString().
    String longString() const override;

private:
    struct Private;
    SharedPrivatePtr<Private> d;
};

} // namespace Core
} // namespace Orvane

// Objects that keep the error record of their last failed operation, and the builder through
// which a logger turns its output into error records.
#pragma once

#include "qorcommon/errorinfo.h"
#include "qorcommon/export.h"
#include "qorcommon/object.h"

namespace Orvane {
namespace Core {

class LoggingFrame;

/// Base of objects whose operations leave their failure in the object: after a failed call the
/// caller reads getCurrentErrorInfo() (or getErrorText(), getErrorCode()).
///
/// The current record is not synchronised: it belongs to the operation that sets it and to its
/// caller, one thread at a time, as the object's other state does.
/// Thread safety: reentrant.
class QORCOMMON_API OperationObject : public Object {
public:
    ~OperationObject() override;

    /// The record of the last failure (an empty record before the first one).
    const ErrorInfo& getCurrentErrorInfo() const;
    /// The current record's text.
    const std::string& getErrorText() const;
    /// The current record's code narrowed to 16 bits: the short code of the C face.
    short getErrorCode() const;

    /// Shows the current record through Result::showError.
    virtual void showError(const CodeLocation& location, int x, int y) const;

protected:
    explicit OperationObject(Object* parent = nullptr);
    /// The copy takes the current record; storage objects stay with the original.
    OperationObject(const OperationObject& other);
    OperationObject& operator=(const OperationObject& other);

    /// The current record, to amend in place.
    ErrorInfo& currentErrorInfo();
    void setCurrentErrorInfo(const ErrorInfo& errorInfo);

    /// The parent of the storage objects (strings, lists) that the object's operations make for
    /// their callers: they live until the operation object goes, without being counted among
    /// its children.
    Object* parentOfStorages() const;

    /// Closes the logging scope `frame` (from LoggingFrame::begin) at `location`: writes its
    /// end entry and frees the frame.
    void endLogging(LoggingFrame* frame, const CodeLocation& location) const;

private:
    struct Private;
    Private* d;
};

/// Turns log output into error records for a Logger that is given one (setErrorInfoBuilder).
/// The base keeps no state; subclasses decide what a record is made of.
/// Thread safety: reentrant.
class QORCOMMON_API ErrorInfoBuilder {
public:
    ErrorInfoBuilder();
    ErrorInfoBuilder(const ErrorInfoBuilder& other);
    ErrorInfoBuilder& operator=(const ErrorInfoBuilder& other);
    virtual ~ErrorInfoBuilder();

private:
    // Null: reserved so that the class can gain state without changing its size.
    struct Private;
    Private* d;
};

} // namespace Core
} // namespace Orvane

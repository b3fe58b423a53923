// Objects that yield a DateTime on demand: a fixed value, the current time, or two providers
// combined by an operation. They are reference-counted and passed as GC<DateTimeProvider>.
#pragma once

#include "qorcommon/datetime.h"
#include "qorcommon/gc.h"

namespace Orvane {
namespace Core {

/// Yields a DateTime each time it is asked.
/// Thread safety: thread-safe (the library's providers are immutable once made).
class QORCOMMON_API DateTimeProvider : public GCObject {
public:
    DateTimeProvider();
    ~DateTimeProvider() override;
    DateTimeProvider(const DateTimeProvider&) = delete;
    DateTimeProvider& operator=(const DateTimeProvider&) = delete;

    virtual DateTime getValue() const = 0;
};

/// Always yields the value it was made with.
/// Thread safety: thread-safe.
class QORCOMMON_API DateTimeValue : public DateTimeProvider {
public:
    explicit DateTimeValue(const DateTime& value);
    ~DateTimeValue() override;
    DateTimeValue(const DateTimeValue&) = delete;
    DateTimeValue& operator=(const DateTimeValue&) = delete;

    DateTime getValue() const override;

private:
    struct Private;
    Private* d;
};

/// Yields DateTime::now(utc) at every call.
/// Thread safety: thread-safe.
class QORCOMMON_API DateTimeNow : public DateTimeProvider {
public:
    explicit DateTimeNow(bool utc = false);
    ~DateTimeNow() override;
    DateTimeNow(const DateTimeNow&) = delete;
    DateTimeNow& operator=(const DateTimeNow&) = delete;

    DateTime getValue() const override;
    bool isUtc() const;

private:
    struct Private;
    Private* d;
};

/// Combines the values of two providers, both asked afresh at every call.
///
/// A null provider is a failed check and counts as an empty value.
/// Thread safety: thread-safe.
class QORCOMMON_API DateTimeOperator : public DateTimeProvider {
public:
    enum Operation : int {
        /// left moved forward by the span right (DateTime::afterSpan).
        Add = 0,
        /// left moved back by the span right (DateTime::beforeSpan).
        Subtract = 1,
        /// The span between the points in time left and right, whichever comes first
        /// (DateTime::spanBetween).
        Difference = 2,
        /// The earlier of the two points in time; an empty value is passed over.
        Earliest = 3,
        /// The later of the two points in time; an empty value is passed over.
        Latest = 4
    };

    /// An operation that this class does not implement (any other number) throws
    /// std::runtime_error with the text "operation '{0}' is not supported", {0} being the
    /// operation's number.
    DateTimeOperator(const GC<DateTimeProvider>& left, Operation operation,
                     const GC<DateTimeProvider>& right);
    ~DateTimeOperator() override;
    DateTimeOperator(const DateTimeOperator&) = delete;
    DateTimeOperator& operator=(const DateTimeOperator&) = delete;

    DateTime getValue() const override;

    Operation operation() const;
    GC<DateTimeProvider> left() const;
    GC<DateTimeProvider> right() const;

    static bool isOperationSupported(Operation operation);
    /// The operation applied to two values, as getValue does it.
    static DateTime apply(const DateTime& left, Operation operation, const DateTime& right);

private:
    struct Private;
    Private* d;
};

} // namespace Core
} // namespace Orvane

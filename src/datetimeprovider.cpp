#include "qorcommon/datetimeprovider.h"

#include "qorcommon/assertion.h"

#include <stdexcept>

namespace Orvane {
namespace Core {

DateTimeProvider::DateTimeProvider() = default;

DateTimeProvider::~DateTimeProvider() = default;

// ---- DateTimeValue ---------------------------------------------------------------------------

struct DateTimeValue::Private {
    explicit Private(const DateTime& v) : value(v) {}
    DateTime value;
};

DateTimeValue::DateTimeValue(const DateTime& value) : d(new Private(value)) {}

DateTimeValue::~DateTimeValue() {
    delete d;
}

DateTime DateTimeValue::getValue() const {
    return d->value;
}

// ---- DateTimeNow -----------------------------------------------------------------------------

struct DateTimeNow::Private {
    bool utc;
};

DateTimeNow::DateTimeNow(bool utc) : d(new Private{utc}) {}

DateTimeNow::~DateTimeNow() {
    delete d;
}

DateTime DateTimeNow::getValue() const {
    return DateTime::now(d->utc);
}

bool DateTimeNow::isUtc() const {
    return d->utc;
}

// ---- DateTimeOperator ------------------------------------------------------------------------

namespace {

[[noreturn]] void throwUnsupported(DateTimeOperator::Operation operation) {
    String message("operation '{0}' is not supported");
    message.a(static_cast<int>(operation));
    throw std::runtime_error(message.str());
}

// An empty value is passed over, so that "the earlier of a time and nothing" is that time.
const DateTime& pick(const DateTime& left, const DateTime& right, bool earlier) {
    if (left.isEmpty()) return right;
    if (right.isEmpty()) return left;
    return (earlier ? right < left : left < right) ? right : left;
}

DateTime valueOf(const GC<DateTimeProvider>& provider) {
    return provider ? provider->getValue() : DateTime();
}

} // namespace

struct DateTimeOperator::Private {
    GC<DateTimeProvider> left;
    Operation operation;
    GC<DateTimeProvider> right;
};

DateTimeOperator::DateTimeOperator(const GC<DateTimeProvider>& left, Operation operation,
                                   const GC<DateTimeProvider>& right)
    : d(nullptr) {
    // Refused here rather than at every getValue: a bad operation is a programming error that
    // should surface where the operator is built.
    if (!isOperationSupported(operation)) throwUnsupported(operation);
    d = new Private{left, operation, right};
}

DateTimeOperator::~DateTimeOperator() {
    delete d;
}

DateTime DateTimeOperator::getValue() const {
    const GC<DateTimeProvider>& left = d->left;
    const GC<DateTimeProvider>& right = d->right;
    QOR_CHECK(left);
    QOR_CHECK(right);
    return apply(valueOf(left), d->operation, valueOf(right));
}

DateTimeOperator::Operation DateTimeOperator::operation() const {
    return d->operation;
}

GC<DateTimeProvider> DateTimeOperator::left() const {
    return d->left;
}

GC<DateTimeProvider> DateTimeOperator::right() const {
    return d->right;
}

bool DateTimeOperator::isOperationSupported(Operation operation) {
    switch (operation) {
    case Add:
    case Subtract:
    case Difference:
    case Earliest:
    case Latest:
        return true;
    }
    return false;
}

DateTime DateTimeOperator::apply(const DateTime& left, Operation operation, const DateTime& right) {
    switch (operation) {
    case Add:
        return left.afterSpan(right);
    case Subtract:
        return left.beforeSpan(right);
    case Difference:
        return DateTime::spanBetween(left, right);
    case Earliest:
        return pick(left, right, true);
    case Latest:
        return pick(left, right, false);
    }
    throwUnsupported(operation);
}

} // namespace Core
} // namespace Orvane

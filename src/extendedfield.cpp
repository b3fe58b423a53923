#include "qorcommon/extendedfield.h"

#include "qorcommon/assertion.h"
#include "qorcommon/globalvariable.h"
#include "qorcommon/stringlist.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace Orvane {
namespace Core {

namespace {

const char* const kTimeStampFormat = "YYYYMMDDHH24MISS";
constexpr std::size_t kTimeStampLength = 14;

// std::stol's reading with fixed messages: the standard library's own texts differ between
// implementations, and these are the ones callers match.
std::int32_t toInt32(const std::string& text) {
    std::size_t i = 0;
    while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i])))
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
    const std::size_t digits = i;
    std::int64_t value = 0;
    bool overflow = false;
    for (; i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])); ++i) {
        if (value > INT32_MAX) {
            overflow = true; // keep reading: the whole number is the argument
        } else {
            value = value * 10 + (text[i] - '0');
        }
    }
    if (i == digits) throw std::invalid_argument("invalid stol argument");
    if (negative) value = -value;
    if (overflow || value > INT32_MAX || value < INT32_MIN) {
        throw std::out_of_range("stol argument out of range");
    }
    return static_cast<std::int32_t>(value);
}

bool hasTimeStamp(const std::string& text) {
    return text.size() > kTimeStampLength && text[kTimeStampLength] == ';';
}

// Reads YYYYMMDDHH24MISS at the start of `text` (which holds at least 14 characters). Every
// character must be a digit: a sign or blank that a number could start with makes no date.
DateTime readTimeStamp(const std::string& text) {
    for (std::size_t i = 0; i < kTimeStampLength; ++i) {
        if (!std::isdigit(static_cast<unsigned char>(text[i]))) {
            throw std::invalid_argument("invalid stol argument");
        }
    }
    auto part = [&text](std::size_t pos, std::size_t length) {
        return static_cast<int>(toInt32(text.substr(pos, length)));
    };
    return DateTime(part(0, 4), part(4, 2), part(6, 2), part(8, 2), part(10, 2), part(12, 2));
}

// A new field made by `args`, initialised from `completeText`; null when that fails.
template <class Field, class... Args>
GC<SimpleExtendedField> created(const std::string& completeText, Args&&... args) {
    GC<SimpleExtendedField> field(new Field(std::forward<Args>(args)...));
    if (!field->init(completeText)) return GC<SimpleExtendedField>();
    return field;
}

using Depot = std::vector<GC<SimpleExtendedField>>;

GlobalVariable<Depot>& detectionDepot() {
    static GlobalVariable<Depot> depot;
    return depot;
}

} // namespace

// ---- ExtendedField --------------------------------------------------------------------------

struct ExtendedField::Private {
    bool modified = false;
    DateTime updated;
    std::string comment;
};

ExtendedField::ExtendedField() = default;

ExtendedField::ExtendedField(const ExtendedField& other) = default;
ExtendedField& ExtendedField::operator=(const ExtendedField& other) = default;
ExtendedField::~ExtendedField() = default;

const char* ExtendedField::typeName() const {
    return "Orvane::Core::ExtendedField";
}

bool ExtendedField::isModified() const {
    return d->modified;
}

void ExtendedField::setModified(bool modified) {
    d.write()->modified = modified;
}

const DateTime& ExtendedField::updated() const {
    return d->updated;
}

void ExtendedField::setUpdated(const DateTime& updated) {
    d.write()->updated = updated;
}

const std::string& ExtendedField::comment() const {
    return d->comment;
}

void ExtendedField::setComment(const std::string& comment) {
    d.write()->comment = comment;
}

void ExtendedField::touch() {
    Private* p = d.write();
    p->modified = true;
    p->updated = DateTime::now();
}

bool ExtendedField::prepare(std::string& text) {
    if (!hasTimeStamp(text)) return false;
    d.write()->updated = readTimeStamp(text);
    text.erase(0, kTimeStampLength + 1);
    return true;
}

bool ExtendedField::prepareForDetection(std::string& text) {
    if (!hasTimeStamp(text)) return false;
    text.erase(0, kTimeStampLength + 1);
    return true;
}

void ExtendedField::addToDetectionDepot(const GC<SimpleExtendedField>& prototype) {
    if (prototype.isNull()) return;
    auto access = detectionDepot().access();
    if (Depot* depot = access.get()) depot->push_back(prototype);
}

GC<SimpleExtendedField> ExtendedField::getObject(const std::string& completeText) {
    Depot prototypes;
    {
        auto access = detectionDepot().access();
        Depot* depot = access.get();
        if (!depot) return GC<SimpleExtendedField>();
        prototypes = *depot;
    }
    // The prototypes are asked outside the lock: they are user code.
    std::string text = completeText;
    prepareForDetection(text);
    for (const GC<SimpleExtendedField>& prototype : prototypes) {
        if (prototype->detect(text) == SimpleExtendedField::Recognized) {
            return prototype->createObject(completeText);
        }
    }
    return GC<SimpleExtendedField>();
}

void ExtendedField::clearDetectionDepot() {
    // Released outside the lock, for the same reason.
    Depot released;
    GlobalVariable<Depot>& depot = detectionDepot();
    auto access = depot.access();
    if (access.exists()) {
        released.swap(*access.get());
        access.deactivate();
    } else {
        access.deactivate();
        depot.assign(Depot());
    }
}

void ExtendedField::destroyDetectionDepot() {
    detectionDepot().destroy();
}

// ---- SimpleExtendedField --------------------------------------------------------------------

SimpleExtendedField::SimpleExtendedField() = default;
SimpleExtendedField::SimpleExtendedField(const SimpleExtendedField& other) = default;
SimpleExtendedField& SimpleExtendedField::operator=(const SimpleExtendedField& other) = default;
SimpleExtendedField::~SimpleExtendedField() = default;

const char* SimpleExtendedField::typeName() const {
    return "Orvane::Core::SimpleExtendedField";
}

bool SimpleExtendedField::init(const std::string& completeText) {
    std::string complete_str = completeText;
    prepare(complete_str);
    if (!QOR_CHECK(complete_str.length())) return false;
    return setFormattedString(complete_str);
}

SimpleExtendedField::DetectionResult SimpleExtendedField::detect(const std::string& text) const {
    const StringList parts = StringList::split(text, ";");
    if (parts.size() < 2) return NoFieldText;
    return checkPrefix(parts.front()) ? Recognized : NotRecognized;
}

bool SimpleExtendedField::checkPrefix(const std::string& text) const {
    const std::string own = prefix();
    return text.compare(0, own.size(), own) == 0;
}

String SimpleExtendedField::valueAsString() const {
    return asStringValue();
}

bool SimpleExtendedField::setValue(const std::string& text) {
    if (!setStringValue(text)) return false;
    touch();
    return true;
}

String SimpleExtendedField::generateCompleteString(const DateTime& dateTime) const {
    return dateTime.asString(kTimeStampFormat) + ";" + toFormattedString();
}

String SimpleExtendedField::generateCompleteString() const {
    return generateCompleteString(updated());
}

// ---- EmbeddedExtendedField ------------------------------------------------------------------

struct EmbeddedExtendedField::Private {
    std::string prefix;
};

EmbeddedExtendedField::EmbeddedExtendedField(const std::string& prefix) : d(new Private{prefix}) {}

EmbeddedExtendedField::EmbeddedExtendedField(const EmbeddedExtendedField& other) = default;
EmbeddedExtendedField&
EmbeddedExtendedField::operator=(const EmbeddedExtendedField& other) = default;
EmbeddedExtendedField::~EmbeddedExtendedField() = default;

const char* EmbeddedExtendedField::typeName() const {
    return "Orvane::Core::EmbeddedExtendedField";
}

std::string EmbeddedExtendedField::prefix() const {
    return d->prefix;
}

String EmbeddedExtendedField::toFormattedString() const {
    StringList parts;
    parts << d->prefix << asStringValue().str();
    if (!comment().empty()) parts << comment();
    return String(parts.join(";"));
}

bool EmbeddedExtendedField::setFormattedString(const std::string& text) {
    StringList parts = StringList::split(text, ";");
    if (parts.size() < 2) return false;
    std::list<std::string>& items = parts.list();
    items.pop_front();
    if (!setStringValue(items.front())) return false;
    items.pop_front();
    setComment(parts.join(";"));
    return true;
}

// ---- StringExtendedField --------------------------------------------------------------------

struct StringExtendedField::Private {
    std::string value;
};

StringExtendedField::StringExtendedField(const std::string& prefix, const std::string& value)
    : EmbeddedExtendedField(prefix), d(new Private{value}) {}

StringExtendedField::StringExtendedField(const StringExtendedField& other) = default;
StringExtendedField& StringExtendedField::operator=(const StringExtendedField& other) = default;
StringExtendedField::~StringExtendedField() = default;

const char* StringExtendedField::typeName() const {
    return "Orvane::Core::StringExtendedField";
}

const std::string& StringExtendedField::value() const {
    return d->value;
}

GC<SimpleExtendedField> StringExtendedField::createObject(const std::string& completeText) const {
    return created<StringExtendedField>(completeText, prefix());
}

bool StringExtendedField::setStringValue(const std::string& text) {
    d.write()->value = text;
    return true;
}

String StringExtendedField::asStringValue() const {
    return String(d->value);
}

// ---- LongExtendedField ----------------------------------------------------------------------

struct LongExtendedField::Private {
    std::int32_t value;
};

LongExtendedField::LongExtendedField(const std::string& prefix, std::int32_t value)
    : EmbeddedExtendedField(prefix), d(new Private{value}) {}

LongExtendedField::LongExtendedField(const LongExtendedField& other) = default;
LongExtendedField& LongExtendedField::operator=(const LongExtendedField& other) = default;
LongExtendedField::~LongExtendedField() = default;

const char* LongExtendedField::typeName() const {
    return "Orvane::Core::LongExtendedField";
}

std::int32_t LongExtendedField::value() const {
    return d->value;
}

void LongExtendedField::setValue(std::int32_t value) {
    d.write()->value = value;
    touch();
}

GC<SimpleExtendedField> LongExtendedField::createObject(const std::string& completeText) const {
    return created<LongExtendedField>(completeText, prefix());
}

bool LongExtendedField::setStringValue(const std::string& text) {
    d.write()->value = toInt32(text);
    return true;
}

String LongExtendedField::asStringValue() const {
    return String(std::to_string(d->value));
}

// ---- FlagExtendedField ----------------------------------------------------------------------

struct FlagExtendedField::Private {
    bool value;
};

FlagExtendedField::FlagExtendedField(const std::string& prefix, bool value)
    : EmbeddedExtendedField(prefix), d(new Private{value}) {}

FlagExtendedField::FlagExtendedField(const FlagExtendedField& other) = default;
FlagExtendedField& FlagExtendedField::operator=(const FlagExtendedField& other) = default;
FlagExtendedField::~FlagExtendedField() = default;

const char* FlagExtendedField::typeName() const {
    return "Orvane::Core::FlagExtendedField";
}

bool FlagExtendedField::value() const {
    return d->value;
}

void FlagExtendedField::setValue(bool value) {
    d.write()->value = value;
    touch();
}

GC<SimpleExtendedField> FlagExtendedField::createObject(const std::string& completeText) const {
    return created<FlagExtendedField>(completeText, prefix());
}

bool FlagExtendedField::setStringValue(const std::string& text) {
    if (text != "1" && text != "0") return false;
    d.write()->value = text == "1";
    return true;
}

String FlagExtendedField::asStringValue() const {
    return String(d->value ? "1" : "0");
}

String FlagExtendedField::valueAsString() const {
    return String(d->value ? "true" : "false");
}

// ---- Flag64ExtendedField --------------------------------------------------------------------

struct Flag64ExtendedField::Private {
    std::vector<FlagState> value;
};

Flag64ExtendedField::Flag64ExtendedField(const std::string& prefix, std::size_t count,
                                         FlagState initial)
    : EmbeddedExtendedField(prefix), d(new Private{std::vector<FlagState>(count, initial)}) {}

Flag64ExtendedField::Flag64ExtendedField(const std::string& prefix,
                                         const std::vector<FlagState>& values)
    : EmbeddedExtendedField(prefix), d(new Private{values}) {}

Flag64ExtendedField::Flag64ExtendedField(const Flag64ExtendedField& other) = default;
Flag64ExtendedField& Flag64ExtendedField::operator=(const Flag64ExtendedField& other) = default;
Flag64ExtendedField::~Flag64ExtendedField() = default;

const char* Flag64ExtendedField::typeName() const {
    return "Orvane::Core::Flag64ExtendedField";
}

std::size_t Flag64ExtendedField::count() const {
    return d->value.size();
}

Flag64ExtendedField::FlagState Flag64ExtendedField::value(std::size_t idx) const {
    const Private* priv = d.get();
    if (!QOR_CHECK(idx < priv->value.size())) return Unknown;
    return priv->value[idx];
}

const std::vector<Flag64ExtendedField::FlagState>& Flag64ExtendedField::value() const {
    return d->value;
}

bool Flag64ExtendedField::setValue(std::size_t idx, FlagState state) {
    Private* priv = d.write();
    if (!QOR_CHECK(idx < priv->value.size())) return false;
    priv->value[idx] = state;
    touch();
    return true;
}

void Flag64ExtendedField::setValue(const std::vector<FlagState>& values) {
    d.write()->value = values;
    touch();
}

GC<SimpleExtendedField> Flag64ExtendedField::createObject(const std::string& completeText) const {
    return created<Flag64ExtendedField>(completeText, prefix(), count());
}

bool Flag64ExtendedField::setStringValue(const std::string& text) {
    const std::string reversed(text.rbegin(), text.rend());
    Private* p = d.write();
    const std::size_t n = std::min(reversed.size(), p->value.size());
    for (std::size_t i = 0; i < n; ++i) {
        const char c = reversed[i];
        p->value[i] = c == '0' ? Off : c == '1' ? On : Unknown;
    }
    return true;
}

String Flag64ExtendedField::asStringValue() const {
    std::string text;
    text.reserve(d->value.size());
    for (const FlagState state : d->value) {
        switch (state) {
        case Off:
            text += '0';
            break;
        case On:
            text += '1';
            break;
        case Unknown:
        case NotSet:
            text += 'X';
            break;
        }
    }
    std::reverse(text.begin(), text.end());
    return String(std::move(text));
}

// ---- DateTimeExtendedField ------------------------------------------------------------------

struct DateTimeExtendedField::Private {
    DateTime value;
};

DateTimeExtendedField::DateTimeExtendedField(const std::string& prefix, const DateTime& value)
    : EmbeddedExtendedField(prefix), d(new Private{value}) {}

DateTimeExtendedField::DateTimeExtendedField(const DateTimeExtendedField& other) = default;
DateTimeExtendedField&
DateTimeExtendedField::operator=(const DateTimeExtendedField& other) = default;
DateTimeExtendedField::~DateTimeExtendedField() = default;

const char* DateTimeExtendedField::typeName() const {
    return "Orvane::Core::DateTimeExtendedField";
}

const DateTime& DateTimeExtendedField::value() const {
    return d->value;
}

void DateTimeExtendedField::setValue(const DateTime& value) {
    d.write()->value = value;
    touch();
}

GC<SimpleExtendedField> DateTimeExtendedField::createObject(const std::string& completeText) const {
    return created<DateTimeExtendedField>(completeText, prefix());
}

bool DateTimeExtendedField::setStringValue(const std::string& text) {
    if (text.size() < kTimeStampLength) return false;
    if (text.compare(0, kTimeStampLength, std::string(kTimeStampLength, '0')) == 0) {
        d.write()->value.clear();
    } else {
        d.write()->value = readTimeStamp(text);
    }
    return true;
}

String DateTimeExtendedField::asStringValue() const {
    if (d->value.isEmpty()) return String(std::string(kTimeStampLength, '0'));
    return d->value.asString(kTimeStampFormat);
}

String DateTimeExtendedField::valueAsString() const {
    if (d->value.isEmpty()) return String();
    return d->value.asISODateTime();
}

} // namespace Core
} // namespace Orvane

// Extended fields: small typed values (a string, a number, a flag, a row of flags, a date) that
// write themselves into a text together with the time of their last change, and that recognise
// and read themselves out of such a text again.
//
// A field is written as a complete string: the update time as 14 digits (YYYYMMDDHH24MISS),
// ";", then its formatted string: its prefix, ";", its value and, when it has a comment, ";" and
// the comment:
//
//     20240131235959;COUNT;42;set by the importer
//
// Prototype fields registered in the detection depot let ExtendedField::getObject() make the
// right kind of field for a complete string it is given.
//
// Fields are reference-counted (hold them in GC handles) and not synchronised: a field is used
// by one thread at a time. The detection depot is thread-safe.
#pragma once

#include "qorcommon/datetime.h"
#include "qorcommon/export.h"
#include "qorcommon/privateptr.h"
#include "qorcommon/gc.h"
#include "qorcommon/string.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Orvane {
namespace Core {

class SimpleExtendedField;

/// Base of the family: the modified flag, the time of the last update and a comment, the
/// reading of the time stamp, and the detection depot.
/// Thread safety: reentrant (the detection depot is thread-safe).
class QORCOMMON_API ExtendedField : public GCObject {
public:
    ~ExtendedField() override;
    const char* typeName() const override;

    bool isModified() const;
    void setModified(bool modified = true);
    /// The time of the last update: set by the setters and read from a complete string.
    const DateTime& updated() const;
    void setUpdated(const DateTime& updated);
    const std::string& comment() const;
    void setComment(const std::string& comment);

    /// When `text` is at least 15 characters long and its 15th character is ";", reads the first
    /// 14 as year (4 digits), month, day, hour, minute and second (2 each) into updated(),
    /// removes the first 15 characters and returns true. Otherwise leaves text and time as they
    /// are and returns false. A time stamp with anything but digits throws
    /// std::invalid_argument("invalid stol argument") and leaves the text.
    bool prepare(std::string& text);
    /// The same test and removal as prepare, without reading the time.
    static bool prepareForDetection(std::string& text);

    /// Registers a prototype for getObject (a null handle is ignored). Fields are asked in the
    /// order of registration.
    static void addToDetectionDepot(const GC<SimpleExtendedField>& prototype);
    /// A new field of the kind of the first registered prototype that recognises the text (after
    /// its time stamp is stripped), initialised from the whole complete string (so that it also
    /// takes the update time); a null handle when no prototype recognises it or the field cannot
    /// read it. Throws what the field's init() throws.
    static GC<SimpleExtendedField> getObject(const std::string& completeText);
    /// Forgets every prototype (making the depot anew if it was destroyed).
    static void clearDetectionDepot();
    /// Tears the depot down with the library's other global variables. Using it afterwards is
    /// reported as "_var != nullptr": registration is then ignored and getObject finds nothing.
    static void destroyDetectionDepot();

protected:
    ExtendedField();
    /// A copy is a new object with the same state and no uses.
    ExtendedField(const ExtendedField& other);
    ExtendedField& operator=(const ExtendedField& other);

    /// Marks a change of the value: modified, updated now.
    void touch();

private:
    struct Private;
    PrivatePtr<Private> d;
};

/// A field that knows its prefix, the first part of its formatted string.
/// Thread safety: reentrant.
class QORCOMMON_API SimpleExtendedField : public ExtendedField {
public:
    /// What detect() says of a text.
    enum DetectionResult : int {
        /// The text has no value part (no ";"), so no field can read it.
        NoFieldText = -1,
        /// The text belongs to another kind of field.
        NotRecognized = 0,
        /// The text begins with this field's prefix.
        Recognized = 1
    };

    ~SimpleExtendedField() override;
    const char* typeName() const override;

    /// Reads a complete string: prepare(), then setFormattedString() on the rest. An empty rest
    /// is reported as "complete_str.length()" and gives false. Throws what setStringValue throws.
    virtual bool init(const std::string& completeText);
    /// Splits the text at ";"; with at least two parts, Recognized when checkPrefix() accepts the
    /// first part.
    virtual DetectionResult detect(const std::string& text) const;
    /// A new field of this kind (with this prefix and shape), initialised from `completeText`;
    /// a null handle when init() fails. Throws what init() throws.
    virtual GC<SimpleExtendedField> createObject(const std::string& completeText) const = 0;
    /// True when `text` begins with prefix().
    virtual bool checkPrefix(const std::string& text) const;
    virtual std::string prefix() const = 0;
    /// The value in readable form.
    virtual String valueAsString() const;
    /// Reads the value from its text form (no change of the modified flag or update time).
    virtual bool setStringValue(const std::string& text) = 0;
    /// The value's text form, as setStringValue reads it.
    virtual String asStringValue() const = 0;
    /// The formatted string: prefix, ";", value, and ";" and the comment when there is one.
    virtual String toFormattedString() const = 0;
    /// Reads a formatted string; false with fewer than two ";"-separated parts.
    virtual bool setFormattedString(const std::string& text) = 0;
    /// Sets the value from its text form as a change: on success the field is modified and
    /// updated now.
    virtual bool setValue(const std::string& text);
    bool setValue(const char* text) { return setValue(std::string(text ? text : "")); }

    /// The time stamp of `dateTime` (YYYYMMDDHH24MISS), ";", and toFormattedString().
    String generateCompleteString(const DateTime& dateTime) const;
    /// The same with updated() as the time stamp.
    String generateCompleteString() const;

protected:
    SimpleExtendedField();
    SimpleExtendedField(const SimpleExtendedField& other);
    SimpleExtendedField& operator=(const SimpleExtendedField& other);
};

/// A simple field whose prefix is the text given to its constructor.
/// Thread safety: reentrant.
class QORCOMMON_API EmbeddedExtendedField : public SimpleExtendedField {
public:
    ~EmbeddedExtendedField() override;
    const char* typeName() const override;

    std::string prefix() const override;
    String toFormattedString() const override;
    /// Drops the first part (the prefix) and reads the second with setStringValue; the rest, when
    /// there is one, becomes the comment (so a comment may contain ";"), else the comment is
    /// cleared. The value part cannot contain ";": the form has no escaping.
    bool setFormattedString(const std::string& text) override;

protected:
    explicit EmbeddedExtendedField(const std::string& prefix);
    EmbeddedExtendedField(const EmbeddedExtendedField& other);
    EmbeddedExtendedField& operator=(const EmbeddedExtendedField& other);

private:
    struct Private;
    PrivatePtr<Private> d;
};

/// A text.
/// Thread safety: reentrant.
class QORCOMMON_API StringExtendedField : public EmbeddedExtendedField {
public:
    explicit StringExtendedField(const std::string& prefix, const std::string& value = "");
    StringExtendedField(const StringExtendedField& other);
    StringExtendedField& operator=(const StringExtendedField& other);
    ~StringExtendedField() override;
    const char* typeName() const override;

    /// The text; setValue(text) changes it.
    const std::string& value() const;

    GC<SimpleExtendedField> createObject(const std::string& completeText) const override;
    /// Takes the text as it is.
    bool setStringValue(const std::string& text) override;
    String asStringValue() const override;

private:
    struct Private;
    PrivatePtr<Private> d;
};

/// A 32-bit signed number.
/// Thread safety: reentrant.
class QORCOMMON_API LongExtendedField : public EmbeddedExtendedField {
public:
    explicit LongExtendedField(const std::string& prefix, std::int32_t value = 0);
    LongExtendedField(const LongExtendedField& other);
    LongExtendedField& operator=(const LongExtendedField& other);
    ~LongExtendedField() override;
    const char* typeName() const override;

    std::int32_t value() const;
    void setValue(std::int32_t value);
    using SimpleExtendedField::setValue;

    GC<SimpleExtendedField> createObject(const std::string& completeText) const override;
    /// The leading decimal number (blanks and a sign may precede it; what follows it is
    /// ignored). A text without a number throws std::invalid_argument("invalid stol argument"),
    /// a number outside 32 bits std::out_of_range("stol argument out of range").
    bool setStringValue(const std::string& text) override;
    /// Decimal.
    String asStringValue() const override;

private:
    struct Private;
    PrivatePtr<Private> d;
};

/// A flag, written "1" or "0".
/// Thread safety: reentrant.
class QORCOMMON_API FlagExtendedField : public EmbeddedExtendedField {
public:
    explicit FlagExtendedField(const std::string& prefix, bool value = false);
    FlagExtendedField(const FlagExtendedField& other);
    FlagExtendedField& operator=(const FlagExtendedField& other);
    ~FlagExtendedField() override;
    const char* typeName() const override;

    bool value() const;
    void setValue(bool value);
    using SimpleExtendedField::setValue;

    GC<SimpleExtendedField> createObject(const std::string& completeText) const override;
    /// "1" or "0"; any other text gives false and leaves the value.
    bool setStringValue(const std::string& text) override;
    String asStringValue() const override;
    /// "true" or "false".
    String valueAsString() const override;

private:
    struct Private;
    PrivatePtr<Private> d;
};

/// A row of flags (64 unless told otherwise), each on, off or unknown.
///
/// The row is written like a binary number, one character per flag with flag 0 rightmost: "1"
/// on, "0" off, "X" unknown. So the flags 1, 0, unknown (flag 0 first) read "X01".
/// Thread safety: reentrant.
class QORCOMMON_API Flag64ExtendedField : public EmbeddedExtendedField {
public:
    enum FlagState : int {
        /// Never given a value; written "X" like Unknown.
        NotSet = -2,
        Unknown = -1,
        Off = 0,
        On = 1
    };

    explicit Flag64ExtendedField(const std::string& prefix, std::size_t count = 64,
                                 FlagState initial = NotSet);
    Flag64ExtendedField(const std::string& prefix, const std::vector<FlagState>& values);
    Flag64ExtendedField(const Flag64ExtendedField& other);
    Flag64ExtendedField& operator=(const Flag64ExtendedField& other);
    ~Flag64ExtendedField() override;
    const char* typeName() const override;

    /// The number of flags.
    std::size_t count() const;
    /// One flag; an index past the row is reported as "idx < priv->value.size()" and gives
    /// Unknown.
    FlagState value(std::size_t idx) const;
    const std::vector<FlagState>& value() const;
    /// Sets one flag (a change); an index past the row is reported as for value(idx).
    bool setValue(std::size_t idx, FlagState state);
    void setValue(const std::vector<FlagState>& values);
    using SimpleExtendedField::setValue;

    GC<SimpleExtendedField> createObject(const std::string& completeText) const override;
    /// Reads the text from its right end: flag i takes the i-th character from the right, "0"
    /// off, "1" on and anything else unknown. Flags beyond the text keep their state, characters
    /// beyond the row are ignored. Always succeeds.
    bool setStringValue(const std::string& text) override;
    String asStringValue() const override;

private:
    struct Private;
    PrivatePtr<Private> d;
};

/// A date and time, written YYYYMMDDHH24MISS.
/// Thread safety: reentrant.
class QORCOMMON_API DateTimeExtendedField : public EmbeddedExtendedField {
public:
    explicit DateTimeExtendedField(const std::string& prefix, const DateTime& value = DateTime());
    DateTimeExtendedField(const DateTimeExtendedField& other);
    DateTimeExtendedField& operator=(const DateTimeExtendedField& other);
    ~DateTimeExtendedField() override;
    const char* typeName() const override;

    const DateTime& value() const;
    void setValue(const DateTime& value);
    using SimpleExtendedField::setValue;

    GC<SimpleExtendedField> createObject(const std::string& completeText) const override;
    /// Reads 14 digits YYYYMMDDHH24MISS (what follows them is ignored); a shorter text gives
    /// false, anything but digits throws std::invalid_argument("invalid stol argument"). An
    /// empty value is written as 14 zeros and read back from them.
    bool setStringValue(const std::string& text) override;
    String asStringValue() const override;
    /// The ISO form, "2024-01-31T23:59:59".
    String valueAsString() const override;

private:
    struct Private;
    PrivatePtr<Private> d;
};

} // namespace Core
} // namespace Orvane

// The library's string: a byte string in the core encoding with encoding conversions, wildcard
// matching, numbered placeholders ("{0}", "{1}", ...) and number formatting.
#pragma once

#include "qorcommon/databuffer.h"
#include "qorcommon/object.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <utility>

#if defined(__GNUC__) && defined(_WIN32)
#define QOR_PRINTF_FORMAT(fmt, args) __attribute__((format(gnu_printf, fmt, args)))
#elif defined(__GNUC__)
#define QOR_PRINTF_FORMAT(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define QOR_PRINTF_FORMAT(fmt, args)
#endif

namespace Orvane {
namespace Core {

class ByteArray;

/// Thread safety: reentrant (the core encoding: set once at start-up).
class QORCOMMON_API String : public StorageObject, public DataBuffer<char> {
public:
    /// Encodings the library converts between. The numbers are part of the C face.
    enum Encoding : int {
        /// The operating system's locale code page (Windows: the ANSI code page; POSIX: the
        /// C library's current locale).
        Locale = 0,
        UTF8 = 1,
        /// ISO 8859-1: every byte is the code point of the same number.
        Latin1 = 2
    };
    enum NumeralSystem : int { Decimal = 0, Hexadecimal = 1 };
    enum IsMatchBackend : int { Wildcard = 0 };

    explicit String(Object* parent = nullptr);
    /// A null text gives an empty string.
    String(const char* text, Object* parent = nullptr);
    String(std::string text, Object* parent = nullptr);
    /// Converts wide text into the core encoding.
    String(const std::wstring& text, Object* parent = nullptr);
    /// Converts wide text into `encoding`.
    String(const std::wstring& text, Encoding encoding, Object* parent = nullptr);
    explicit String(const ByteArray& bytes, Object* parent = nullptr);
    explicit String(char c);
    String(const String& other);
    String(String&& other) noexcept;
    ~String() override;

    /// Assignment copies the text only: the object keeps its own parent.
    String& operator=(const String& other);
    String& operator=(String&& other) noexcept;
    String& operator=(const std::string& text);
    String& operator=(std::string&& text);
    String& operator=(const char* text);

    // ---- the encoding of library strings --------------------------------------------------

    /// The encoding in which all library strings are held. UTF-8 until start-up says otherwise:
    /// it holds every character, reads the same on every platform, and keeps files portable
    /// between machines with different code pages.
    static Encoding coreEncoding();
    /// Set once by the start-up code from the configuration, before other threads use strings.
    static void setCoreEncoding(Encoding encoding);

    // ---- std::string access ---------------------------------------------------------------

    const std::string& str() const { return m_text; }
    std::string& str() { return m_text; }
    const char* c_str() const { return m_text.c_str(); }
    const char* data() const { return m_text.data(); }
    /// The number of bytes.
    std::size_t size() const { return m_text.size(); }
    bool isEmpty() const { return m_text.empty(); }
    bool empty() const { return m_text.empty(); }
    void clear() { m_text.clear(); }
    operator const std::string&() const { return m_text; }
    char& operator[](std::size_t i) { return m_text[i]; }
    char operator[](std::size_t i) const { return m_text[i]; }

    String& operator+=(const String& other) {
        m_text += other.m_text;
        return *this;
    }
    String& operator+=(const std::string& text) {
        m_text += text;
        return *this;
    }
    String& operator+=(const char* text) {
        if (text) m_text += text;
        return *this;
    }
    String& operator+=(char c) {
        m_text += c;
        return *this;
    }

    // ---- text operations ------------------------------------------------------------------

    /// The number of 16-bit characters the text has once converted from `encoding` (a text that
    /// does not convert counts as its replacement "(encoding error)").
    std::size_t length(Encoding encoding) const;
    /// Changes every byte with the C library's toupper / tolower (current C locale).
    String& toUpper();
    String& toLower();
    /// Removes leading and trailing blanks, tabs, line feeds, carriage returns, form feeds and
    /// vertical tabs.
    String& trim();
    /// Replaces every non-overlapping occurrence of `from`, left to right. The replacement is not
    /// searched again. An empty `from` changes nothing.
    String& replace(const std::string& from, const std::string& to);

    /// Wildcard match: "*" matches any run (also empty), "?" one byte, anything else itself.
    /// Case-sensitive. A backend other than Wildcard is reported and does not match.
    bool isMatch(const std::string& pattern, IsMatchBackend backend = Wildcard) const;
    static bool isMatch(const std::string& text, const std::string& pattern,
                        IsMatchBackend backend = Wildcard);

    // ---- placeholders: each a() fills every "{N}" of the smallest N present -----------------

    String& a(const std::string& value);
    String& a(const String& value) { return a(value.m_text); }
    /// A null text fills in nothing.
    String& a(const char* value);
    String& a(char value);
    String& a(int value, long width = 0, NumeralSystem system = Decimal);
    String& a(long value, long width = 0, NumeralSystem system = Decimal);
    String& a(long long value, long width = 0, NumeralSystem system = Decimal);
    String& a(unsigned int value, long width = 0, NumeralSystem system = Decimal);
    String& a(unsigned long value, long width = 0, NumeralSystem system = Decimal);
    String& a(unsigned long long value, long width = 0, NumeralSystem system = Decimal);
    String& a(double value, long width = 0, long precision = -1);

    // ---- number formatting ----------------------------------------------------------------
    //
    // Integers are widened to 64 bits. Decimal: plain with width < 1, else zero-padded to the
    // width. Hexadecimal, lower case: with width < 1 only the low 32 bits are printed (so the
    // high half of a 64-bit value is dropped on purpose), else the whole value zero-padded to
    // the width. Unsigned values print as unsigned. Widths are capped at 65535.
    //
    // Floating point: width >= 1 and precision >= 0 pads with zeros to the width with that many
    // decimals; precision >= 0 alone prints that many decimals; width >= 1 alone pads with zeros
    // and prints no decimals; neither prints the C library's default six decimals.

    static std::string toString(int value, long width = 0, NumeralSystem system = Decimal);
    static std::string toString(long value, long width = 0, NumeralSystem system = Decimal);
    static std::string toString(long long value, long width = 0, NumeralSystem system = Decimal);
    static std::string toString(unsigned int value, long width = 0, NumeralSystem system = Decimal);
    static std::string toString(unsigned long value, long width = 0,
                                NumeralSystem system = Decimal);
    static std::string toString(unsigned long long value, long width = 0,
                                NumeralSystem system = Decimal);
    static std::string toString(double value, long width = 0, long precision = -1);
    static std::string toString(char value);
    /// A null text gives an empty string.
    static std::string toString(const char* value);

    // ---- encoding conversions -------------------------------------------------------------
    //
    // A conversion that fails (invalid input, or a character the target cannot hold) yields the
    // text "(encoding error)". Converting between equal encodings returns the text unchanged.
    // Wide strings are UTF-16 where wchar_t has 16 bits (Windows) and UTF-32 elsewhere.

    std::string toString(Encoding from, Encoding to) const;
    static std::string toString(const std::string& text, Encoding from, Encoding to);
    static std::string toString(const std::wstring& text, Encoding to);

    /// The text, read in the core encoding, as a wide string.
    std::wstring toWString() const;
    std::wstring toWString(Encoding from) const;
    static std::wstring toWString(const std::string& text, Encoding from);
    /// Each byte widened to one wide character as it is (the Latin-1 reading); never fails. For
    /// texts known to be plain ASCII, such as numbers and identifiers.
    std::wstring asWString() const;

    static std::string toCoreEncoding(const std::string& text, Encoding from);
    static std::string toCoreEncoding(const std::wstring& text);
    static std::string fromCoreEncoding(const std::string& text, Encoding to);
    static std::wstring fromCoreEncoding(const std::string& text);

    /// Converts the held text in place.
    String& convert(Encoding from, Encoding to);

    // ---- C-style formatted text -----------------------------------------------------------

    /// The text escaped so that printf-style formatting reproduces it: every "%" becomes "%%".
    /// With `asCLiteral` the result is also valid between the quotes of a C string literal:
    /// backslash and double quote are preceded by a backslash, line feed, carriage return and
    /// tab become \n, \r and \t, other bytes below 0x20 and 0x7F become three-digit octal
    /// escapes (\033); bytes from 0x80 up are kept, so UTF-8 stays readable.
    std::string toCFormatted(bool asCLiteral) const;
    /// Formats like the C library's printf. A null format is reported as "format".
    static String fromCFormatted(const char* format, ...) QOR_PRINTF_FORMAT(1, 2);
    /// As above, as a new string owned by `parent` (deleted with it; a caller that passes no
    /// parent deletes it itself). A string with a parent must live on the heap, so this form
    /// cannot return a value.
    static String* fromCFormatted(Object* parent, const char* format, ...) QOR_PRINTF_FORMAT(2, 3);

    // ---- input ----------------------------------------------------------------------------

    /// Reads one line (without its '\n') into the string, as std::getline does; false when
    /// nothing could be read.
    bool getLine(std::istream& stream);
    bool getLine(std::istream& stream, char delimiter);

    // ---- DataBuffer<char> -----------------------------------------------------------------

    char* buffer() override { return &m_text[0]; }
    const char* buffer() const override { return m_text.c_str(); }
    std::size_t bufferSize() const override { return m_text.size(); }
    bool resizeBuffer(std::size_t size) override;
    void reset() override { m_text.clear(); }
    bool appendData(const char* data, std::size_t count) override;
    bool copyDataFrom(const char* data, std::size_t count) override;
    std::size_t copyDataTo(void* target, std::size_t offset, std::size_t count) const override;

private:
    // The text lives in the object rather than behind a private pointer: strings are copied on
    // every log line, and a second allocation per copy would double their cost. This layout is
    // frozen.
    std::string m_text;
};

inline bool operator==(const String& a, const String& b) {
    return a.str() == b.str();
}
inline bool operator!=(const String& a, const String& b) {
    return a.str() != b.str();
}
inline bool operator<(const String& a, const String& b) {
    return a.str() < b.str();
}
inline bool operator>(const String& a, const String& b) {
    return a.str() > b.str();
}
inline bool operator<=(const String& a, const String& b) {
    return a.str() <= b.str();
}
inline bool operator>=(const String& a, const String& b) {
    return a.str() >= b.str();
}
inline bool operator==(const String& a, const std::string& b) {
    return a.str() == b;
}
inline bool operator==(const std::string& a, const String& b) {
    return a == b.str();
}
inline bool operator!=(const String& a, const std::string& b) {
    return a.str() != b;
}
inline bool operator!=(const std::string& a, const String& b) {
    return a != b.str();
}
inline bool operator<(const String& a, const std::string& b) {
    return a.str() < b;
}
inline bool operator<(const std::string& a, const String& b) {
    return a < b.str();
}
inline bool operator==(const String& a, const char* b) {
    return b && a.str() == b;
}
inline bool operator==(const char* a, const String& b) {
    return a && b.str() == a;
}
inline bool operator!=(const String& a, const char* b) {
    return !(a == b);
}
inline bool operator!=(const char* a, const String& b) {
    return !(a == b);
}

inline String operator+(const String& a, const String& b) {
    String r(a);
    r += b;
    return r;
}
inline String operator+(const String& a, const std::string& b) {
    String r(a);
    r += b;
    return r;
}
inline String operator+(const std::string& a, const String& b) {
    String r(a);
    r += b;
    return r;
}
inline String operator+(const String& a, const char* b) {
    String r(a);
    r += b;
    return r;
}
inline String operator+(const char* a, const String& b) {
    String r(a);
    r += b;
    return r;
}
inline String operator+(const String& a, char b) {
    String r(a);
    r += b;
    return r;
}

QORCOMMON_API std::ostream& operator<<(std::ostream& stream, const String& text);

} // namespace Core
} // namespace Orvane

namespace std {
template <> struct hash<Orvane::Core::String> {
    size_t operator()(const Orvane::Core::String& s) const noexcept {
        return hash<string>()(s.str());
    }
};
} // namespace std

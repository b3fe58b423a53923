#include "qorcommon/string.h"

#include "qorcommon/assertion.h"
#include "qorcommon/bytearray.h"
#include "platform/platform.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <istream>
#include <new>
#include <ostream>
#include <stdexcept>

namespace Orvane {
namespace Core {

template class DataBuffer<char>;

namespace {

const char encodingErrorText[] = "(encoding error)";
const wchar_t encodingErrorWide[] = L"(encoding error)";
constexpr std::size_t encodingErrorLength = sizeof(encodingErrorText) - 1;

std::atomic<int> coreEncodingValue{String::UTF8};

bool isKnownEncoding(String::Encoding e) {
    return e == String::Locale || e == String::UTF8 || e == String::Latin1;
}

bool isSurrogate(char32_t cp) {
    return cp >= 0xD800 && cp <= 0xDFFF;
}

// ---- code points ------------------------------------------------------------------------------

// Strict UTF-8: overlong forms, surrogates, values above U+10FFFF and cut-off sequences fail.
template <class Emit> bool forEachUtf8CodePoint(const std::string& text, Emit emit) {
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const auto* end = p + text.size();
    while (p < end) {
        const unsigned lead = *p++;
        if (lead < 0x80) {
            emit(static_cast<char32_t>(lead));
            continue;
        }
        std::ptrdiff_t trail;
        char32_t cp;
        char32_t smallest;
        if ((lead & 0xE0) == 0xC0) {
            trail = 1;
            cp = lead & 0x1F;
            smallest = 0x80;
        } else if ((lead & 0xF0) == 0xE0) {
            trail = 2;
            cp = lead & 0x0F;
            smallest = 0x800;
        } else if ((lead & 0xF8) == 0xF0) {
            trail = 3;
            cp = lead & 0x07;
            smallest = 0x10000;
        } else {
            return false;
        }
        if (end - p < trail) return false;
        for (std::ptrdiff_t i = 0; i < trail; ++i) {
            const unsigned next = *p++;
            if ((next & 0xC0) != 0x80) return false;
            cp = (cp << 6) | (next & 0x3F);
        }
        if (cp < smallest || cp > 0x10FFFF || isSurrogate(cp)) return false;
        emit(cp);
    }
    return true;
}

// UTF-16 code units (char16_t, or wchar_t where it has 16 bits); unpaired surrogates fail.
template <class Unit, class Emit>
bool forEachUtf16CodePoint(const Unit* p, std::size_t n, Emit emit) {
    const Unit* end = p + n;
    while (p < end) {
        const char32_t unit = static_cast<char16_t>(*p++);
        if (!isSurrogate(unit)) {
            emit(unit);
            continue;
        }
        if (unit >= 0xDC00 || p == end) return false;
        const char32_t low = static_cast<char16_t>(*p++);
        if (low < 0xDC00 || low > 0xDFFF) return false;
        emit(0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
    }
    return true;
}

template <class Emit> bool forEachWideCodePoint(const std::wstring& text, Emit emit) {
    if constexpr (sizeof(wchar_t) == 2) {
        return forEachUtf16CodePoint(text.data(), text.size(), emit);
    } else {
        for (wchar_t w : text) {
            const auto cp = static_cast<char32_t>(w);
            if (cp > 0x10FFFF || isSurrogate(cp)) return false;
            emit(cp);
        }
        return true;
    }
}

template <class Emit>
bool forEachCodePoint(const std::string& text, String::Encoding from, Emit emit) {
    switch (from) {
    case String::UTF8:
        return forEachUtf8CodePoint(text, emit);
    case String::Latin1:
        for (char c : text)
            emit(static_cast<char32_t>(static_cast<unsigned char>(c)));
        return true;
    case String::Locale: {
        std::u16string units;
        if (!Platform::localeToUtf16(text, units)) return false;
        return forEachUtf16CodePoint(units.data(), units.size(), emit);
    }
    }
    return false;
}

void appendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

template <class Text> void appendUtf16(Text& out, char32_t cp) {
    using Unit = typename Text::value_type;
    if (cp < 0x10000) {
        out += static_cast<Unit>(cp);
    } else {
        cp -= 0x10000;
        out += static_cast<Unit>(0xD800 + (cp >> 10));
        out += static_cast<Unit>(0xDC00 + (cp & 0x3FF));
    }
}

void appendWide(std::wstring& out, char32_t cp) {
    if constexpr (sizeof(wchar_t) == 2) {
        appendUtf16(out, cp);
    } else {
        out += static_cast<wchar_t>(cp);
    }
}

/// Collects code points into a byte string of one encoding.
class Encoder {
public:
    explicit Encoder(String::Encoding to) : m_to(to) {}

    void operator()(char32_t cp) {
        switch (m_to) {
        case String::UTF8:
            appendUtf8(m_out, cp);
            break;
        case String::Latin1:
            if (cp > 0xFF) m_ok = false;
            m_out += static_cast<char>(cp);
            break;
        case String::Locale:
            appendUtf16(m_units, cp);
            break;
        }
    }

    /// The encoded text, or the error text when a character could not be held.
    std::string finish(bool inputOk) {
        if (inputOk && m_ok && m_to == String::Locale) {
            m_ok = Platform::utf16ToLocale(m_units, m_out);
        }
        if (!inputOk || !m_ok || !isKnownEncoding(m_to)) return encodingErrorText;
        return std::move(m_out);
    }

private:
    String::Encoding m_to;
    bool m_ok = true;
    std::string m_out;
    std::u16string m_units;
};

std::string convertText(const std::string& text, String::Encoding from, String::Encoding to) {
    if (from == to && isKnownEncoding(from)) return text;
    Encoder encoder(to);
    const bool ok = forEachCodePoint(text, from, std::ref(encoder));
    return encoder.finish(ok);
}

std::string convertWide(const std::wstring& text, String::Encoding to) {
    Encoder encoder(to);
    const bool ok = forEachWideCodePoint(text, std::ref(encoder));
    return encoder.finish(ok);
}

std::wstring toWide(const std::string& text, String::Encoding from) {
    std::wstring out;
    out.reserve(text.size());
    if (!forEachCodePoint(text, from, [&out](char32_t cp) { appendWide(out, cp); })) {
        return encodingErrorWide;
    }
    return out;
}

// ---- replacing and placeholders -----------------------------------------------------------

/// Replaces every occurrence of `from` at or behind `first`, which must be the position of the
/// first occurrence. A single occurrence is replaced in place, sparing an allocation on the
/// common placeholder template.
void replaceFrom(std::string& text, std::size_t first, const char* from, std::size_t fromLength,
                 const char* to, std::size_t toLength) {
    std::size_t next = text.find(from, first + fromLength, fromLength);
    if (next == std::string::npos) {
        text.replace(first, fromLength, to, toLength);
        return;
    }
    std::string out;
    out.reserve(text.size() + (toLength > fromLength ? 2 * (toLength - fromLength) : 0));
    out.append(text, 0, first);
    out.append(to, toLength);
    std::size_t pos = first + fromLength;
    while (next != std::string::npos) {
        out.append(text, pos, next - pos);
        out.append(to, toLength);
        pos = next + fromLength;
        next = text.find(from, pos, fromLength);
    }
    out.append(text, pos, std::string::npos);
    text.swap(out);
}

void fillLowestPlaceholder(std::string& text, const char* value, std::size_t valueLength) {
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    int lowest = 1000;
    // Position of the first "{N}" of the lowest N spelled without leading zeros: only that
    // spelling is replaced, so "{01}" alone leaves the text unchanged.
    std::size_t first = std::string::npos;
    const char* p = begin;
    while (p < end) {
        p = static_cast<const char*>(std::memchr(p, '{', static_cast<std::size_t>(end - p)));
        if (!p) break;
        const char* q = p + 1;
        int number = 0;
        int digits = 0;
        while (q < end && digits < 4 && *q >= '0' && *q <= '9') {
            number = number * 10 + (*q - '0');
            ++q;
            ++digits;
        }
        if (digits == 0 || digits > 3 || q == end || *q != '}') {
            ++p;
            continue;
        }
        const bool plain = digits == 1 || p[1] != '0';
        if (number < lowest) {
            lowest = number;
            first = plain ? static_cast<std::size_t>(p - begin) : std::string::npos;
        } else if (number == lowest && plain && first == std::string::npos) {
            first = static_cast<std::size_t>(p - begin);
        }
        p = q + 1;
    }
    if (first == std::string::npos) return;
    char key[8] = {'{'};
    const auto digitsEnd = std::to_chars(key + 1, key + sizeof key - 1, lowest).ptr;
    *digitsEnd = '}';
    const auto keyLength = static_cast<std::size_t>(digitsEnd + 1 - key);
    replaceFrom(text, first, key, keyLength, value, valueLength);
}

bool wildcardMatch(const std::string& text, const std::string& pattern) {
    const std::size_t tn = text.size();
    const std::size_t pn = pattern.size();
    std::size_t ti = 0;
    std::size_t pi = 0;
    std::size_t star = std::string::npos;
    std::size_t starText = 0;
    while (ti < tn) {
        if (pi < pn && pattern[pi] == '*') {
            star = pi++;
            starText = ti;
        } else if (pi < pn && (pattern[pi] == '?' || pattern[pi] == text[ti])) {
            ++pi;
            ++ti;
        } else if (star != std::string::npos) {
            pi = star + 1;
            ti = ++starText;
        } else {
            return false;
        }
    }
    while (pi < pn && pattern[pi] == '*')
        ++pi;
    return pi == pn;
}

// ---- number formatting --------------------------------------------------------------------

constexpr long maximumWidth = 65535;

int formatField(long value) {
    return static_cast<int>(std::min(value, maximumWidth));
}

std::string vformat(const char* format, va_list args) {
    char stackBuffer[256];
    va_list probe;
    va_copy(probe, args);
    const int needed = std::vsnprintf(stackBuffer, sizeof stackBuffer, format, probe);
    va_end(probe);
    if (needed < 0) return std::string();
    if (static_cast<std::size_t>(needed) < sizeof stackBuffer) {
        return std::string(stackBuffer, static_cast<std::size_t>(needed));
    }
    std::string out(static_cast<std::size_t>(needed), '\0');
    std::vsnprintf(&out[0], out.size() + 1, format, args);
    return out;
}

std::string printfText(const char* format, ...) QOR_PRINTF_FORMAT(1, 2);
std::string printfText(const char* format, ...) {
    va_list args;
    va_start(args, format);
    std::string out = vformat(format, args);
    va_end(args);
    return out;
}

template <class Integer> std::string plainDecimal(Integer value) {
    char digits[24];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    return std::string(digits, result.ptr);
}

std::string formatSigned(long long value, long width, String::NumeralSystem system) {
    char pattern[32];
    if (system == String::Hexadecimal) {
        if (width < 1) {
            return printfText("%x", static_cast<unsigned>(static_cast<unsigned long long>(value) &
                                                          0xFFFFFFFFull));
        }
        std::snprintf(pattern, sizeof pattern, "%%0%dllx", formatField(width));
        return printfText(pattern, static_cast<unsigned long long>(value));
    }
    if (width < 1) return plainDecimal(value);
    std::snprintf(pattern, sizeof pattern, "%%0%dlld", formatField(width));
    return printfText(pattern, value);
}

std::string formatUnsigned(unsigned long long value, long width, String::NumeralSystem system) {
    if (system == String::Hexadecimal) {
        return formatSigned(static_cast<long long>(value), width, system);
    }
    if (width < 1) return plainDecimal(value);
    char pattern[32];
    std::snprintf(pattern, sizeof pattern, "%%0%dllu", formatField(width));
    return printfText(pattern, value);
}

std::string formatDouble(double value, long width, long precision) {
    char pattern[48];
    if (width >= 1 && precision >= 0) {
        std::snprintf(pattern, sizeof pattern, "%%0%d.0%dlf", formatField(width),
                      formatField(precision));
    } else if (precision >= 0) {
        std::snprintf(pattern, sizeof pattern, "%%.0%dlf", formatField(precision));
    } else if (width >= 1) {
        std::snprintf(pattern, sizeof pattern, "%%0%d.0lf", formatField(width));
    } else {
        return printfText("%lf", value);
    }
    return printfText(pattern, value);
}

} // namespace

// ---- construction -----------------------------------------------------------------------------

String::String(Object* parent) : StorageObject(parent) {}
String::String(const char* text, Object* parent)
    : StorageObject(parent), m_text(text ? text : "") {}
String::String(std::string text, Object* parent) : StorageObject(parent), m_text(std::move(text)) {}
String::String(const std::wstring& text, Object* parent)
    : StorageObject(parent), m_text(convertWide(text, coreEncoding())) {}
String::String(const std::wstring& text, Encoding encoding, Object* parent)
    : StorageObject(parent), m_text(convertWide(text, encoding)) {}
String::String(const ByteArray& bytes, Object* parent)
    : StorageObject(parent), m_text(reinterpret_cast<const char*>(bytes.data()), bytes.size()) {}
String::String(char c) : StorageObject(nullptr), m_text(1, c) {}
String::String(const String& other)
    : StorageObject(other), DataBuffer<char>(other), m_text(other.m_text) {}
String::String(String&& other) noexcept
    : StorageObject(other), DataBuffer<char>(other), m_text(std::move(other.m_text)) {}
String::~String() = default;

// Assignment copies the text only: the object keeps its own parent, as ownership is no value.
String& String::operator=(const String& other) {
    m_text = other.m_text;
    return *this;
}

String& String::operator=(String&& other) noexcept {
    m_text = std::move(other.m_text);
    return *this;
}

String& String::operator=(const std::string& text) {
    m_text = text;
    return *this;
}

String& String::operator=(std::string&& text) {
    m_text = std::move(text);
    return *this;
}

String& String::operator=(const char* text) {
    if (text) {
        m_text = text;
    } else {
        m_text.clear();
    }
    return *this;
}

String::Encoding String::coreEncoding() {
    return static_cast<Encoding>(coreEncodingValue.load(std::memory_order_relaxed));
}

void String::setCoreEncoding(Encoding encoding) {
    coreEncodingValue.store(encoding, std::memory_order_relaxed);
}

// ---- text operations --------------------------------------------------------------------------

std::size_t String::length(Encoding encoding) const {
    std::size_t units = 0;
    const bool ok =
        forEachCodePoint(m_text, encoding, [&units](char32_t cp) { units += cp > 0xFFFF ? 2 : 1; });
    return ok ? units : encodingErrorLength;
}

String& String::toUpper() {
    for (char& c : m_text)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return *this;
}

String& String::toLower() {
    for (char& c : m_text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return *this;
}

String& String::trim() {
    static const char blanks[] = " \t\n\r\f\v";
    const std::size_t first = m_text.find_first_not_of(blanks);
    if (first == std::string::npos) {
        m_text.clear();
        return *this;
    }
    m_text.erase(m_text.find_last_not_of(blanks) + 1);
    m_text.erase(0, first);
    return *this;
}

String& String::replace(const std::string& from, const std::string& to) {
    if (from.empty()) return *this;
    const std::size_t first = m_text.find(from);
    if (first != std::string::npos) {
        replaceFrom(m_text, first, from.data(), from.size(), to.data(), to.size());
    }
    return *this;
}

bool String::isMatch(const std::string& pattern, IsMatchBackend backend) const {
    return isMatch(m_text, pattern, backend);
}

bool String::isMatch(const std::string& text, const std::string& pattern, IsMatchBackend backend) {
    if (backend != Wildcard) {
        QOR_ASSERT_FAILED("the given IsMatchBackend is not supported");
        return false;
    }
    return wildcardMatch(text, pattern);
}

// ---- placeholders -----------------------------------------------------------------------------

String& String::a(const std::string& value) {
    fillLowestPlaceholder(m_text, value.data(), value.size());
    return *this;
}

String& String::a(const char* value) {
    if (!value) value = "";
    fillLowestPlaceholder(m_text, value, std::strlen(value));
    return *this;
}

String& String::a(char value) {
    fillLowestPlaceholder(m_text, &value, 1);
    return *this;
}

String& String::a(int value, long width, NumeralSystem system) {
    return a(formatSigned(value, width, system));
}
String& String::a(long value, long width, NumeralSystem system) {
    return a(formatSigned(value, width, system));
}
String& String::a(long long value, long width, NumeralSystem system) {
    return a(formatSigned(value, width, system));
}
String& String::a(unsigned int value, long width, NumeralSystem system) {
    return a(formatUnsigned(value, width, system));
}
String& String::a(unsigned long value, long width, NumeralSystem system) {
    return a(formatUnsigned(value, width, system));
}
String& String::a(unsigned long long value, long width, NumeralSystem system) {
    return a(formatUnsigned(value, width, system));
}
String& String::a(double value, long width, long precision) {
    return a(formatDouble(value, width, precision));
}

// ---- number formatting ------------------------------------------------------------------------

std::string String::toString(int value, long width, NumeralSystem system) {
    return formatSigned(value, width, system);
}
std::string String::toString(long value, long width, NumeralSystem system) {
    return formatSigned(value, width, system);
}
std::string String::toString(long long value, long width, NumeralSystem system) {
    return formatSigned(value, width, system);
}
std::string String::toString(unsigned int value, long width, NumeralSystem system) {
    return formatUnsigned(value, width, system);
}
std::string String::toString(unsigned long value, long width, NumeralSystem system) {
    return formatUnsigned(value, width, system);
}
std::string String::toString(unsigned long long value, long width, NumeralSystem system) {
    return formatUnsigned(value, width, system);
}
std::string String::toString(double value, long width, long precision) {
    return formatDouble(value, width, precision);
}
std::string String::toString(char value) {
    return std::string(1, value);
}
std::string String::toString(const char* value) {
    return value ? value : "";
}

// ---- encoding conversions ---------------------------------------------------------------------

std::string String::toString(Encoding from, Encoding to) const {
    return convertText(m_text, from, to);
}

std::string String::toString(const std::string& text, Encoding from, Encoding to) {
    return convertText(text, from, to);
}

std::string String::toString(const std::wstring& text, Encoding to) {
    return convertWide(text, to);
}

std::wstring String::toWString() const {
    return toWide(m_text, coreEncoding());
}
std::wstring String::toWString(Encoding from) const {
    return toWide(m_text, from);
}
std::wstring String::toWString(const std::string& text, Encoding from) {
    return toWide(text, from);
}

std::wstring String::asWString() const {
    std::wstring out(m_text.size(), L'\0');
    std::transform(m_text.begin(), m_text.end(), out.begin(),
                   [](char c) { return static_cast<wchar_t>(static_cast<unsigned char>(c)); });
    return out;
}

std::string String::toCoreEncoding(const std::string& text, Encoding from) {
    return convertText(text, from, coreEncoding());
}

std::string String::toCoreEncoding(const std::wstring& text) {
    return convertWide(text, coreEncoding());
}

std::string String::fromCoreEncoding(const std::string& text, Encoding to) {
    return convertText(text, coreEncoding(), to);
}

std::wstring String::fromCoreEncoding(const std::string& text) {
    return toWide(text, coreEncoding());
}

String& String::convert(Encoding from, Encoding to) {
    if (from != to || !isKnownEncoding(from)) m_text = convertText(m_text, from, to);
    return *this;
}

// ---- C-style formatted text -------------------------------------------------------------------

std::string String::toCFormatted(bool asCLiteral) const {
    std::string out;
    out.reserve(m_text.size() + 8);
    for (char c : m_text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '%') {
            out += "%%";
        } else if (!asCLiteral) {
            out += c;
        } else if (c == '\\' || c == '"') {
            out += '\\';
            out += c;
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\r') {
            out += "\\r";
        } else if (c == '\t') {
            out += "\\t";
        } else if (byte < 0x20 || byte == 0x7F) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\%03o", static_cast<unsigned>(byte));
            out += escape;
        } else {
            out += c;
        }
    }
    return out;
}

String String::fromCFormatted(const char* format, ...) {
    if (!QOR_CHECK(format)) return String();
    va_list args;
    va_start(args, format);
    String out(vformat(format, args));
    va_end(args);
    return out;
}

String* String::fromCFormatted(Object* parent, const char* format, ...) {
    if (!QOR_CHECK(format)) return new String(parent);
    va_list args;
    va_start(args, format);
    std::string text = vformat(format, args);
    va_end(args);
    return new String(std::move(text), parent);
}

// ---- input ------------------------------------------------------------------------------------

bool String::getLine(std::istream& stream) {
    return getLine(stream, '\n');
}

bool String::getLine(std::istream& stream, char delimiter) {
    return static_cast<bool>(std::getline(stream, m_text, delimiter));
}

// ---- DataBuffer<char> -------------------------------------------------------------------------

bool String::resizeBuffer(std::size_t size) {
    try {
        m_text.resize(size);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

bool String::appendData(const char* data, std::size_t count) {
    if (count == 0) return true;
    if (!data) return false;
    try {
        m_text.append(data, count);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

bool String::copyDataFrom(const char* data, std::size_t count) {
    if (count != 0 && !data) return false;
    try {
        m_text.assign(data ? data : "", count);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

std::size_t String::copyDataTo(void* target, std::size_t offset, std::size_t count) const {
    if (!target || offset >= m_text.size()) return 0;
    const std::size_t n = std::min(count, m_text.size() - offset);
    std::memcpy(target, m_text.data() + offset, n);
    return n;
}

std::ostream& operator<<(std::ostream& stream, const String& text) {
    return stream.write(text.data(), static_cast<std::streamsize>(text.size()));
}

} // namespace Core
} // namespace Orvane

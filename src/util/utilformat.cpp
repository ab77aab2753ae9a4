#include "utilformat.h"

#include <limits>

namespace {

constexpr std::uint32_t kPointerWidth = 8;
constexpr char kLowerDigits[] = "0123456789abcdef";
constexpr char kUpperDigits[] = "0123456789ABCDEF";

/// Where the next character goes; `last` is the place kept for the terminator.
struct Output {
    char *next;
    char *last;

    void Put(char c)
    {
        if (next < last)
            *next++ = c;
    }

    void Fill(char c, std::uint32_t count)
    {
        for (; count > 0 && next < last; --count)
            *next++ = c;
    }
};

/// What stands between "%" and the conversion letter.
struct Specification {
    std::uint32_t width = 0;
    std::uint32_t precision = 0;
    bool wide = false;  // the argument has 64 bits
    bool muted = false; // a star: the conversion is swallowed
};

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

std::uint32_t ReadCount(const char *&format, bool &muted)
{
    constexpr std::uint32_t kMax = std::numeric_limits<std::uint32_t>::max();
    std::uint32_t count = 0;
    for (; IsDigit(*format) || *format == '*'; ++format) {
        if (*format == '*') {
            muted = true;
            continue;
        }
        const auto digit = static_cast<std::uint32_t>(*format - '0');
        count = count > (kMax - digit) / 10 ? kMax : count * 10 + digit;
    }
    return count;
}

Specification ReadSpecification(const char *&format)
{
    Specification spec;
    spec.width = ReadCount(format, spec.muted);
    if (*format == '.')
        spec.precision = ReadCount(++format, spec.muted);
    std::uint32_t longs = 0;
    for (; *format == 'l'; ++format)
        ++longs;
    spec.wide = longs >= 2;
    return spec;
}

void PutDigits(
    Output &out, const char *digits, const char *end, std::uint32_t width, std::uint32_t precision)
{
    const auto count = static_cast<std::uint32_t>(end - digits);
    const std::uint32_t shown = precision > count ? precision : count;
    if (width > shown)
        out.Fill(' ', width - shown);
    if (shown > count)
        out.Fill('0', shown - count);
    while (digits < end && out.next < out.last)
        *out.next++ = *digits++;
}

void PutHex(Output &out, std::uint64_t value, const char *table, std::uint32_t width,
    std::uint32_t precision)
{
    std::array<char, 16> digits;
    char *const end = digits.data() + digits.size();
    char *first = end;
    do {
        *--first = table[value & 0xF];
        value >>= 4;
    } while (value != 0);
    PutDigits(out, first, end, width, precision);
}

void PutDecimal(Output &out, std::uint64_t value, const Specification &spec)
{
    std::array<char, 20> digits;
    char *const end = digits.data() + digits.size();
    char *first = end;
    do {
        *--first = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    PutDigits(out, first, end, spec.width, spec.precision);
}

void PutSigned(Output &out, std::int64_t value, const Specification &spec)
{
    auto magnitude = static_cast<std::uint64_t>(value);
    if (value < 0) {
        // Deliberate: the sign comes before the blanks of the width and is not counted in it.
        out.Put('-');
        magnitude = 0 - magnitude;
    }
    PutDecimal(out, magnitude, spec);
}

void PutText(Output &out, const char *text)
{
    if (!text)
        return;
    while (*text != '\0' && out.next < out.last)
        *out.next++ = *text++;
}

} // namespace

char *UTIL_FormatV(char *destination, std::uint32_t size, const char *format, std::va_list args)
{
    if (!destination || size == 0)
        return destination;
    Output out{destination, destination + (size - 1)};
    for (const char *next = format ? format : ""; *next != '\0'; ++next) {
        if (*next != '%') {
            out.Put(*next);
            continue;
        }
        if (*++next == '%') {
            out.Put('%');
            continue;
        }
        const Specification spec = ReadSpecification(next);
        if (*next == '\0')
            break;
        if (spec.muted)
            continue;
        switch (*next) {
        case 'd':
        case 'i':
            PutSigned(
                out, spec.wide ? va_arg(args, std::int64_t) : va_arg(args, std::int32_t), spec);
            break;
        case 'u':
            PutDecimal(
                out, spec.wide ? va_arg(args, std::uint64_t) : va_arg(args, std::uint32_t), spec);
            break;
        case 'x':
        case 'X':
            PutHex(out, spec.wide ? va_arg(args, std::uint64_t) : va_arg(args, std::uint32_t),
                *next == 'x' ? kLowerDigits : kUpperDigits, spec.width, spec.precision);
            break;
        case 'c':
            out.Put(static_cast<char>(va_arg(args, int)));
            break;
        case 's':
            PutText(out, va_arg(args, const char *));
            break;
        case 'p':
            PutHex(out, reinterpret_cast<std::uintptr_t>(va_arg(args, void *)), kLowerDigits,
                kPointerWidth, spec.precision);
            break;
        default: // writes nothing and takes no argument
            break;
        }
    }
    *out.next = '\0';
    return out.next;
}

char *UTIL_Format(char *destination, std::uint32_t size, const char *format, ...)
{
    std::va_list args;
    va_start(args, format);
    char *const end = UTIL_FormatV(destination, size, format, args);
    va_end(args);
    return end;
}

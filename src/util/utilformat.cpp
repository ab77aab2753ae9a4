#include "utilformat.h"

#include <bit>
#include <limits>

namespace {

constexpr std::uint32_t kPointerWidth = 8;
constexpr char kLowerDigits[] = "0123456789abcdef";
constexpr char kUpperDigits[] = "0123456789ABCDEF";

/// Where the next character goes, and the place kept for the terminator. Handed on by value: behind
/// a reference, every character written would make the compiler load both again.
struct Output {
    char *next;
    char *last;
};

[[nodiscard]] Output Put(Output out, char c)
{
    if (out.next < out.last)
        *out.next++ = c;
    return out;
}

[[nodiscard]] Output Fill(Output out, char c, std::uint32_t count)
{
    for (; count > 0 && out.next < out.last; --count)
        *out.next++ = c;
    return out;
}

/// What stands between "%" and the conversion letter.
struct Directive {
    std::uint32_t width = 0;
    std::uint32_t precision = 0;
    bool wide = false;  // the argument has 64 bits
    bool muted = false; // a star: the conversion is swallowed
};

std::uint32_t ReadCount(const char *&format, bool &muted)
{
    constexpr std::uint32_t kMax = std::numeric_limits<std::uint32_t>::max();
    const char *next = format;
    std::uint32_t count = 0;
    for (;; ++next) {
        const std::uint32_t digit = static_cast<std::uint32_t>(*next) - '0';
        if (digit < 10)
            count = count < kMax / 10 ? count * 10 + digit : kMax;
        else if (*next == '*')
            muted = true;
        else
            break;
    }
    format = next;
    return count;
}

Directive ReadDirective(const char *&format)
{
    Directive directive;
    directive.width = ReadCount(format, directive.muted);
    if (*format == '.')
        directive.precision = ReadCount(++format, directive.muted);
    std::uint32_t longs = 0;
    for (; *format == 'l'; ++format)
        ++longs;
    directive.wide = longs >= 2;
    return directive;
}

/// Writes what stands in front of a number of `count` digits: blanks up to the width and zeros up
/// to the precision.
[[nodiscard]] inline Output PutPadding(Output out, std::uint32_t count, const Directive &directive)
{
    const std::uint32_t shown = directive.precision > count ? directive.precision : count;
    if (directive.width > shown)
        out = Fill(out, ' ', directive.width - shown);
    if (shown > count)
        out = Fill(out, '0', shown - count);
    return out;
}

[[nodiscard]] inline Output PutHex(
    Output out, std::uint64_t value, const char *table, const Directive &directive)
{
    const auto bits = static_cast<std::uint32_t>(std::bit_width(value | 1));
    const std::uint32_t count = (bits + 3) / 4;
    out = PutPadding(out, count, directive);
    for (std::uint32_t shift = count * 4; shift > 0 && out.next < out.last;) {
        shift -= 4;
        *out.next++ = table[(value >> shift) & 0xF];
    }
    return out;
}

[[nodiscard]] Output PutDecimal(Output out, std::uint64_t value, const Directive &directive)
{
    std::array<char, 20> digits;
    char *const end = digits.data() + digits.size();
    char *first = end;
    do {
        *--first = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    out = PutPadding(out, static_cast<std::uint32_t>(end - first), directive);
    while (first < end && out.next < out.last)
        *out.next++ = *first++;
    return out;
}

[[nodiscard]] Output PutSigned(Output out, std::int64_t value, const Directive &directive)
{
    auto magnitude = static_cast<std::uint64_t>(value);
    if (value < 0) {
        // Deliberate: the sign comes before the blanks of the width and is not counted in it.
        out = Put(out, '-');
        magnitude = 0 - magnitude;
    }
    return PutDecimal(out, magnitude, directive);
}

[[nodiscard]] Output PutText(Output out, const char *text)
{
    if (!text)
        return out;
    while (*text != '\0' && out.next < out.last)
        *out.next++ = *text++;
    return out;
}

} // namespace

char *UTIL_FormatV(char *destination, std::uint32_t size, const char *format, std::va_list args)
{
    if (!destination || size == 0)
        return destination;
    Output out{destination, destination + (size - 1)};
    for (const char *next = format ? format : ""; *next != '\0'; ++next) {
        if (*next != '%') {
            out = Put(out, *next);
            continue;
        }
        if (*++next == '%') {
            out = Put(out, '%');
            continue;
        }
        Directive directive = ReadDirective(next);
        if (*next == '\0')
            break;
        if (directive.muted)
            continue;
        switch (*next) {
        case 'd':
        case 'i':
            out = PutSigned(out,
                directive.wide ? va_arg(args, std::int64_t) : va_arg(args, std::int32_t),
                directive);
            break;
        case 'u':
            out = PutDecimal(out,
                directive.wide ? va_arg(args, std::uint64_t) : va_arg(args, std::uint32_t),
                directive);
            break;
        case 'x':
        case 'X':
            out = PutHex(out,
                directive.wide ? va_arg(args, std::uint64_t) : va_arg(args, std::uint32_t),
                *next == 'x' ? kLowerDigits : kUpperDigits, directive);
            break;
        case 'c':
            out = Put(out, static_cast<char>(va_arg(args, int)));
            break;
        case 's':
            out = PutText(out, va_arg(args, const char *));
            break;
        case 'p':
            directive.width = kPointerWidth;
            out = PutHex(out, reinterpret_cast<std::uintptr_t>(va_arg(args, void *)), kLowerDigits,
                directive);
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

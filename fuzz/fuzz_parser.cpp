#include "fuzzinput.h"
#include "utilparser.h"

#include <array>
#include <climits>
#include <memory>

namespace {

struct Reading {
    std::unique_ptr<char[]> error = std::make_unique<char[]>(16);
    std::unique_ptr<char[]> buffer; // of its exact size, so that the address sanitizer guards it
    std::size_t bufferSize = 0;
    const char *cursor = nullptr;

    [[nodiscard]] UtilParseError Error() const { return {error.get(), 16}; }
    [[nodiscard]] std::span<char> Buffer() const { return {buffer.get(), bufferSize}; }
};

void ReadNumber(Reading &reading, unsigned kind)
{
    std::uint32_t hex = 0;
    std::int32_t decimal = 0;
    std::int64_t wide = 0;
    double real = 0;
    switch (kind % 4) {
    case 0:
        UTIL_ReadHex(reading.Error(), reading.cursor, 3, 0xFFFFF, hex);
        FuzzRequire(hex <= 0xFFFFF, "a hex number is not above its maximum");
        break;
    case 1:
        UTIL_ReadDecimal(reading.Error(), reading.cursor, 0, 1000, decimal);
        FuzzRequire(decimal >= -1000 && decimal <= 1000, "a decimal number keeps its range");
        break;
    case 2:
        UTIL_ReadInt64(reading.Error(), reading.cursor, -5, 1LL << 40, wide);
        FuzzRequire(wide >= -5 && wide <= 1LL << 40, "a wide number keeps its range");
        break;
    default:
        UTIL_ReadReal(reading.Error(), reading.cursor, real);
        FuzzRequire(real == real, "a real number is a number");
    }
}

void Read(Reading &reading, unsigned kind)
{
    using ReadText = void (*)(UtilParseError, const char *&, std::span<char>);
    using Skip = void (*)(UtilParseError, const char *&);
    constexpr std::array<ReadText, 5> kTexts = {&UTIL_ReadWord, &UTIL_ReadAlphanumeric,
        &UTIL_ReadIdentifier, &UTIL_ReadQuoted, &UTIL_ReadQuotedLenient};
    constexpr std::array<Skip, 3> kSkips = {&UTIL_SkipBlanks, &UTIL_SkipLine, &UTIL_SkipSeparator};
    if (kind < 5)
        kTexts.at(kind)(reading.Error(), reading.cursor, reading.Buffer());
    else if (kind < 8)
        kSkips.at(kind - 5)(reading.Error(), reading.cursor);
    else if (kind == 8)
        UTIL_ExpectChar(reading.Error(), reading.cursor, '=');
    else if (kind == 9)
        UTIL_ExpectText(reading.Error(), reading.cursor, "0x");
    else
        ReadNumber(reading, kind);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput input(data, size);
    Reading reading;
    reading.bufferSize = input.Byte() % 16;
    reading.buffer = std::make_unique<char[]>(reading.bufferSize);
    const std::string kinds = input.Text(12);
    const std::string bytes = input.Rest();
    const auto text = std::make_unique<char[]>(bytes.size() + 1);
    bytes.copy(text.get(), bytes.size());
    reading.cursor = text.get();
    for (const char kind : kinds) {
        const char *const before = reading.cursor;
        const bool hadFailed = UTIL_HasFailed(reading.Error());
        Read(reading, static_cast<unsigned char>(kind) % 14);
        FuzzRequire(reading.cursor >= before && reading.cursor <= text.get() + bytes.size(),
            "the cursor goes forward and stays in the text");
        FuzzRequire(!hadFailed || reading.cursor == before, "nothing is read after an error");
    }
    return 0;
}

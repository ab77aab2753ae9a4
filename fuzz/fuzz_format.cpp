#include "fuzzinput.h"
#include "utilformat.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace {

constexpr std::size_t kConversions = 6; // as many as there are arguments below

/// Cuts a format before it asks for more arguments than there are.
std::string Limit(std::string format)
{
    format = format.c_str();
    std::size_t percents = 0;
    const auto isTooMany = [&percents](char c) { return c == '%' && ++percents > kConversions; };
    format.erase(std::find_if(format.begin(), format.end(), isTooMany), format.end());
    return format;
}

/// The whole block of memory behind a bounded format; the address sanitizer guards its end.
std::string Format(const std::string &format, std::uint32_t size, const char *text)
{
    const auto memory = std::make_unique<char[]>(size);
    // A pointer serves every conversion: numbers take its bits.
    const char *const end
        = UTIL_Format(memory.get(), size, format.c_str(), text, text, text, text, text, text);
    FuzzRequire(end >= memory.get() && end < memory.get() + size && *end == '\0', "terminated");
    return {memory.get(), static_cast<std::size_t>(end - memory.get())};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput input(data, size);
    const std::uint32_t small = std::uint32_t{input.Byte()} + 1;
    const std::string text = input.Text(input.Byte());
    const std::string format = Limit(input.Rest());
    const std::string whole = Format(format, 70'000, text.c_str());
    const std::string cut = Format(format, small, text.c_str());
    FuzzRequire(cut == whole.substr(0, small - 1), "a small buffer holds the start of a large one");
    return 0;
}

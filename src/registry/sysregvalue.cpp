#include "sysregvalue.h"

#include "sysregistry.h"
#include "sysxmlname.h"
#include "utilformat.h"
#include "utilhex.h"
#include "utiltext.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t kMaxNameChars = 200;
constexpr std::string_view kTypeSuffix = "_TOLVENRegType";
constexpr std::string_view kTextMark = "_TOLVENRegMltStr";

using ElementName = std::array<char, 256>;

struct TypeName {
    std::uint32_t type;
    const char *name;
};

constexpr std::array kTypeNames = {TypeName{SYS_REG_TYPE_SZ, "SYS_REG_TYPE_SZ"},
    TypeName{SYS_REG_TYPE_EXPAND_SZ, "SYS_REG_TYPE_EXPAND_SZ"},
    TypeName{SYS_REG_TYPE_BINARY, "SYS_REG_TYPE_BINARY"},
    TypeName{SYS_REG_TYPE_DWORD, "SYS_REG_TYPE_DWORD"},
    TypeName{SYS_REG_TYPE_MULTI_SZ, "SYS_REG_TYPE_MULTI_SZ"},
    TypeName{SYS_REG_TYPE_QWORD, "SYS_REG_TYPE_QWORD"}};

ElementName TypeElement(const char *name)
{
    ElementName element;
    UTIL_Format(element, "%s_TOLVENRegType", name);
    return element;
}

ElementName TextElement(const char *name, int index)
{
    ElementName element;
    UTIL_Format(element, "%s_TOLVENRegMltStr%d", name, index);
    return element;
}

std::string_view TextOf(pugi::xml_node key, const char *element)
{
    return key.child(element).text().get();
}

void SetText(pugi::xml_node key, const char *element, const char *text)
{
    pugi::xml_node node = key.child(element);
    if (!node)
        node = key.append_child(element);
    node.text().set(text);
}

/// @return the digit's value or -1
int HexDigit(char c)
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    const char lower = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
    const std::size_t found = kDigits.find(lower);
    return found == std::string_view::npos ? -1 : static_cast<int>(found);
}

/// Appends the bytes of pairs of digits. @return whether the text held nothing else
bool AppendHexPairs(std::string_view digits, std::vector<std::uint8_t> &bytes)
{
    if (digits.size() % 2 != 0)
        return false;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const int high = HexDigit(digits[i]);
        const int low = HexDigit(digits[i + 1]);
        if (high < 0 || low < 0)
            return false;
        bytes.push_back(static_cast<std::uint8_t>(high * 16 + low));
    }
    return true;
}

/// Appends a number written as "0x" and digits, lowest byte first.
bool AppendNumber(std::string_view text, std::size_t size, std::vector<std::uint8_t> &bytes)
{
    if (!text.starts_with("0x") || text.size() < 3 || text.size() > 2 + 2 * size)
        return false;
    std::string digits(2 * size - (text.size() - 2), '0');
    digits += text.substr(2);
    const bool good = AppendHexPairs(digits, bytes);
    std::ranges::reverse(bytes);
    return good;
}

void AppendTerminated(std::string_view text, std::vector<std::uint8_t> &bytes)
{
    bytes.insert(bytes.end(), text.begin(), text.end());
    bytes.push_back(0);
}

void AppendTexts(pugi::xml_node key, const char *name, std::vector<std::uint8_t> &bytes)
{
    AppendTerminated(TextOf(key, name), bytes);
    for (int index = 1;; ++index) {
        const ElementName element = TextElement(name, index);
        if (!key.child(element.data()))
            break;
        AppendTerminated(TextOf(key, element.data()), bytes);
    }
    AppendTerminated("", bytes);
}

/// The value's bytes as its type says. @return whether the text fits the type
bool Decode(
    pugi::xml_node key, const char *name, std::uint32_t type, std::vector<std::uint8_t> &bytes)
{
    const std::string_view text = TextOf(key, name);
    switch (type) {
    case SYS_REG_TYPE_SZ:
    case SYS_REG_TYPE_EXPAND_SZ:
        AppendTerminated(text, bytes);
        return true;
    case SYS_REG_TYPE_MULTI_SZ:
        AppendTexts(key, name, bytes);
        return true;
    case SYS_REG_TYPE_BINARY:
        return AppendHexPairs(text, bytes);
    case SYS_REG_TYPE_DWORD:
        return AppendNumber(text, 4, bytes);
    case SYS_REG_TYPE_QWORD:
        return AppendNumber(text, 8, bytes);
    default:
        return false;
    }
}

/// The texts of a list, up to its first empty one; at least one text.
std::vector<std::string> SplitTexts(std::span<const std::uint8_t> data)
{
    std::vector<std::string> texts;
    for (auto next = data.begin(); next != data.end() && *next != 0;) {
        const auto end = std::find(next, data.end(), std::uint8_t{0});
        texts.emplace_back(next, end);
        next = end == data.end() ? end : end + 1;
    }
    if (texts.empty())
        texts.emplace_back();
    return texts;
}

std::string HexText(std::span<const std::uint8_t> data)
{
    std::string text(2 * data.size(), '0');
    char *next = text.data();
    for (const std::uint8_t byte : data)
        next = UTIL_PutHexByte(next, byte);
    return text;
}

std::string NumberText(std::span<const std::uint8_t> data)
{
    const std::vector<std::uint8_t> highestFirst(data.rbegin(), data.rend());
    return "0x" + HexText(highestFirst);
}

/// The texts of a value's elements. @return empty when the data do not fit the type
std::vector<std::string> Encode(std::uint32_t type, std::span<const std::uint8_t> data)
{
    switch (type) {
    case SYS_REG_TYPE_SZ:
    case SYS_REG_TYPE_EXPAND_SZ:
        return {std::string(data.begin(), std::ranges::find(data, std::uint8_t{0}))};
    case SYS_REG_TYPE_MULTI_SZ:
        return SplitTexts(data);
    case SYS_REG_TYPE_BINARY:
        return {HexText(data)};
    case SYS_REG_TYPE_DWORD:
    case SYS_REG_TYPE_QWORD:
        if (data.size() == (type == SYS_REG_TYPE_DWORD ? 4U : 8U))
            return {NumberText(data)};
        return {};
    default:
        return {};
    }
}

} // namespace

bool SYS_IsRegValueName(const char *name)
{
    const std::string_view text(name);
    return text.size() <= kMaxNameChars && SYS_IsXmlName(text) && !text.ends_with(kTypeSuffix)
        && text.find(kTextMark) == std::string_view::npos;
}

std::uint32_t SYS_ReadRegType(pugi::xml_node key, const char *name)
{
    const std::string_view text = TextOf(key, TypeElement(name).data());
    const auto *const found
        = std::ranges::find_if(kTypeNames, [text](TypeName known) { return text == known.name; });
    return found != kTypeNames.end() ? found->type : 0;
}

int SYS_ReadRegValue(pugi::xml_node key, const char *name, std::uint32_t type,
    std::span<std::uint8_t> data, std::uint32_t &size)
{
    std::vector<std::uint8_t> bytes;
    if (!Decode(key, name, type, bytes))
        return SYS_REG_ERROR;
    size = static_cast<std::uint32_t>(bytes.size());
    if (bytes.size() > data.size())
        return SYS_REG_MORE_DATA;
    std::ranges::copy(bytes, data.begin());
    return SYS_REG_OK;
}

int SYS_WriteRegValue(
    pugi::xml_node key, const char *name, std::uint32_t type, std::span<const std::uint8_t> data)
{
    const std::vector<std::string> texts = Encode(type, data);
    const auto *const known
        = std::ranges::find_if(kTypeNames, [type](TypeName entry) { return entry.type == type; });
    if (texts.empty() || known == kTypeNames.end())
        return SYS_REG_ERROR;
    SetText(key, name, texts[0].c_str());
    SetText(key, TypeElement(name).data(), known->name);
    int index = 1;
    for (; static_cast<std::size_t>(index) < texts.size(); ++index)
        SetText(
            key, TextElement(name, index).data(), texts[static_cast<std::size_t>(index)].c_str());
    // The rest of a longer list would be read as part of this one.
    while (key.remove_child(TextElement(name, index).data()))
        ++index;
    return SYS_REG_OK;
}

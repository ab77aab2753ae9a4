#include "settingsimage.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kLineEndChars = "\r\n";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kDigits = "0123456789";

std::string_view WithoutLeading(std::string_view text, std::string_view characters)
{
    text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
    return text;
}

bool ConsumePrefix(std::string_view &text, std::string_view prefix)
{
    if (!text.starts_with(prefix))
        return false;
    text.remove_prefix(prefix.size());
    return true;
}

bool IsHeaderOf(std::string_view line, std::string_view section)
{
    return ConsumePrefix(line, "[") && ConsumePrefix(line, section) && ConsumePrefix(line, "]")
        && WithoutLeading(line, kBlanks).empty();
}

/// Whether the line gives this key a value. Only blanks may stand between name and "=": a line like
/// "Speed limit = 5" belongs to another key than "Speed".
bool IsKeyLine(std::string_view line, std::string_view key, SettingsKeyForm form)
{
    line = WithoutLeading(line, kBlanks);
    if (!ConsumePrefix(line, key))
        return false;
    if (form == SettingsKeyForm::Array) {
        if (!ConsumePrefix(line, "["))
            return false;
        line = WithoutLeading(line, kDigits);
        if (!ConsumePrefix(line, "]"))
            return false;
    }
    return WithoutLeading(line, kBlanks).starts_with('=');
}

} // namespace

bool SettingsImage::Assign(std::string_view text)
{
    if (text.size() > kCapacity)
        return false;
    std::memmove(m_text.data(), text.data(), text.size());
    m_length = text.size();
    return true;
}

SettingsImage::Line SettingsImage::FirstLine() const
{
    return LineAt(Text().starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0);
}

SettingsImage::Line SettingsImage::LineAt(std::size_t start) const
{
    const std::size_t end = std::min(Text().find_first_of(kLineEndChars, start), m_length);
    std::size_t next = end;
    if (next < m_length && m_text[next] == '\r')
        ++next;
    // After a CR only its own LF belongs to this line's end.
    if (next < m_length && m_text[next] == '\n')
        ++next;
    return {start, end, next};
}

std::string_view SettingsImage::TextOf(const Line &line) const
{
    return Text().substr(line.start, line.end - line.start);
}

std::optional<SettingsImage::Line> SettingsImage::FindHeader(std::string_view section) const
{
    for (Line line = FirstLine(); line.start < m_length; line = LineAt(line.next)) {
        if (IsHeaderOf(TextOf(line), section))
            return line;
    }
    return std::nullopt;
}

std::optional<SettingsImage::Line> SettingsImage::FindKeyLine(
    std::string_view section, std::string_view key, SettingsKeyForm form) const
{
    const std::optional<Line> header = FindHeader(section);
    if (!header)
        return std::nullopt;
    for (Line line = LineAt(header->next); line.start < m_length; line = LineAt(line.next)) {
        const std::string_view text = TextOf(line);
        if (text.starts_with('['))
            break;
        if (IsKeyLine(text, key, form))
            return line;
    }
    return std::nullopt;
}

std::optional<std::string_view> SettingsImage::FindKey(
    std::string_view section, std::string_view key, SettingsKeyForm form) const
{
    const std::optional<Line> line = FindKeyLine(section, key, form);
    if (!line)
        return std::nullopt;
    return TextOf(*line);
}

void SettingsImage::Erase(const Line &line)
{
    std::memmove(m_text.data() + line.start, m_text.data() + line.next, m_length - line.next);
    m_length -= line.next - line.start;
}

void SettingsImage::Insert(std::size_t offset, std::string_view text)
{
    char *const place = m_text.data() + offset;
    std::memmove(place + text.size(), place, m_length - offset);
    std::memcpy(place, text.data(), text.size());
    m_length += text.size();
}

bool SettingsImage::ReplaceKey(
    std::string_view section, std::string_view key, SettingsKeyForm form, std::string_view line)
{
    const std::optional<Line> oldLine = FindKeyLine(section, key, form);
    const std::optional<Line> header = FindHeader(section);
    // A last line without an end would otherwise run into what follows.
    const bool openEnd = header
        ? header->end == header->next
        : m_length > 0 && kLineEndChars.find(m_text[m_length - 1]) == std::string_view::npos;
    std::size_t length = m_length + line.size() + (openEnd ? kLineEnd.size() : 0);
    if (oldLine)
        length -= oldLine->next - oldLine->start;
    if (!header)
        length += section.size() + 2 + kLineEnd.size();
    if (length > kCapacity)
        return false;

    if (oldLine)
        Erase(*oldLine);
    if (openEnd)
        Insert(m_length, kLineEnd);
    if (!header) {
        for (const std::string_view part :
            {std::string_view("["), section, std::string_view("]"), kLineEnd})
            Insert(m_length, part);
    }
    Insert(header && !openEnd ? header->next : m_length, line);
    return true;
}

bool SettingsImage::RemoveKey(std::string_view section, std::string_view key, SettingsKeyForm form)
{
    const std::optional<Line> line = FindKeyLine(section, key, form);
    if (line)
        Erase(*line);
    return line.has_value();
}

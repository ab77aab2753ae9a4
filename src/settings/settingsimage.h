#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

/// How a key's name ends in its line: "name =" or, for arrays, "name[count] =".
enum class SettingsKeyForm { Plain, Array };

/// The text of a settings file: sections of key lines, changed in place.
///
/// Everything that is not the one key in question stays as it is, byte for byte: unknown sections,
/// comments, NUL bytes, lines without an end. Lines end with CR LF, and with a bare CR or LF too
/// when another program wrote them. The first matching section and key count.
class SettingsImage {
public:
    static constexpr std::size_t kCapacity = 30'000;

    void Clear() { m_length = 0; }

    /// @return whether the text fits; if not, the image stays as it was
    [[nodiscard]] bool Assign(std::string_view text);

    [[nodiscard]] std::string_view Text() const { return {m_text.data(), m_length}; }

    /// The key's line without its end.
    [[nodiscard]] std::optional<std::string_view> FindKey(
        std::string_view section, std::string_view key, SettingsKeyForm form) const;

    /// Removes the key's line, if there is one, and puts the new line at the start of the section,
    /// which is appended if it is missing. So the key written last stands first.
    /// @param line  with its CR LF
    /// @return whether the result fits; if not, the image stays as it was
    [[nodiscard]] bool ReplaceKey(std::string_view section, std::string_view key,
        SettingsKeyForm form, std::string_view line);

    /// @return whether there was such a key
    bool RemoveKey(std::string_view section, std::string_view key, SettingsKeyForm form);

private:
    /// Offsets of a line: its text ends at `end`, the next line starts at `next`.
    struct Line {
        std::size_t start;
        std::size_t end;
        std::size_t next;
    };

    /// Where the first line begins: behind the mark that some editors put in front of UTF-8.
    [[nodiscard]] Line FirstLine() const;
    [[nodiscard]] Line LineAt(std::size_t start) const;
    [[nodiscard]] std::string_view TextOf(const Line &line) const;
    [[nodiscard]] std::optional<Line> FindHeader(std::string_view section) const;
    [[nodiscard]] std::optional<Line> FindKeyLine(
        std::string_view section, std::string_view key, SettingsKeyForm form) const;
    void Erase(const Line &line);
    void Insert(std::size_t offset, std::string_view text);

    std::array<char, kCapacity> m_text{};
    std::size_t m_length = 0;
};

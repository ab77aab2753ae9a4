#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <vector>

/// Reads a text as an unsigned 64-bit hexadecimal number.
///
/// "0x" or "0X" in front is accepted; signs, blanks, expressions and decimal numbers are not.
/// @param size  always set to 0: the notation for a range has no use yet
/// @return whether the whole text is such a number; otherwise address and size stay 0
[[nodiscard]] bool ParseAddress(const QString &text, std::uint64_t &address, std::uint64_t &size);

/// Writes an address text in its usual form, upper-case digits with "0x" left as typed.
/// A text that is not a hexadecimal number of at most 32 bits stays as it is.
void NormaliseAddressText(QString &text);

/// Texts that the address box offers at most.
inline constexpr qsizetype kMaxAddressBoxItems = 10;

/// The address box's texts after one more was entered: it stands first, once, and the oldest text
/// makes room for it when the list is full. The text must be normalised already.
[[nodiscard]] QStringList WithAddressBoxText(QStringList items, const QString &text);

/// A list from outside brought into the form that the address box keeps: normalised texts, none
/// empty, none twice, at most kMaxAddressBoxItems.
[[nodiscard]] QStringList SoundAddressBoxItems(const QStringList &items);

/// The addresses that were on show before each jump, the latest last. GUI thread only.
class AddressHistory {
public:
    /// Remembers an address, unless it is the one remembered last.
    void PushBack(std::uint64_t address);

    [[nodiscard]] bool IsEmpty() const { return m_addresses.empty(); }

    /// Removes and returns the latest address, or nothing when there is none.
    [[nodiscard]] std::optional<std::uint64_t> TakeLatest();

private:
    std::vector<std::uint64_t> m_addresses; // unbounded: eight bytes for each jump of a user
};

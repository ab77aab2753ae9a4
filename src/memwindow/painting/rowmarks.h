#pragma once

#include "cellranges.h"
#include "memtypes.h"

#include <cstdint>
#include <span>

/// Typed bytes that have not been written yet; they are shown in place of the target's bytes.
class TypedBytes {
public:
    [[nodiscard]] virtual bool Touches(std::uint64_t address, std::uint64_t length) const = 0;
    /// Puts typed bytes over bytes and their status (of equal size). Bytes not typed stay.
    virtual void Overlay(std::uint64_t address, std::span<std::uint8_t> data,
        std::span<ByteStatus> status) const = 0;

protected:
    ~TypedBytes() = default;
};

/// Character columns of the cursor's two cells; -1 when it is on another row.
struct CursorCells {
    int hexColumn = -1;
    int textColumn = -1;
};

/// The selection and the cursor on the rows of the page.
class RowMarks {
public:
    [[nodiscard]] virtual SelectedCells SelectionOn(std::uint64_t rowAddress) const = 0;
    [[nodiscard]] virtual CursorCells CursorOn(std::uint64_t rowAddress) const = 0;

protected:
    ~RowMarks() = default;
};

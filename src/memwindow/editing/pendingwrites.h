#pragma once

#include "memtypes.h"
#include "rowmarks.h"

#include <cstdint>
#include <span>
#include <vector>

/// A contiguous range of target memory that one write call covers.
struct WriteRun {
    std::uint64_t address;
    std::vector<std::uint8_t> data;
};

/// What the user has typed and has not been written to the target yet.
///
/// Owned by one window, used on the GUI thread only. Every change is kept as a record of its own;
/// TakeRuns() turns the records into as few writes as cover them. Where records overlap, the one
/// added last wins, byte by byte. Bytes at and past the end of the 32-bit space are dropped.
class PendingWrites : public TypedBytes {
public:
    void Add(std::uint64_t address, std::span<const std::uint8_t> bytes);

    [[nodiscard]] bool IsEmpty() const { return m_records.empty(); }

    void Overlay(std::uint64_t address, std::span<std::uint8_t> data,
        std::span<ByteStatus> status) const override;
    [[nodiscard]] bool Touches(std::uint64_t address, std::uint64_t length) const override;

    /// Hands out the merged runs in address order and forgets all records. Runs that touch are one.
    [[nodiscard]] std::vector<WriteRun> TakeRuns();

private:
    struct Record {
        std::uint64_t address;
        std::vector<std::uint8_t> data;

        [[nodiscard]] std::uint64_t End() const { return address + data.size(); }
    };

    std::vector<Record> m_records; // in the order of typing
};

#pragma once

#include "backend.h"
#include "gdbhandshake.h"
#include "knownranges.h"
#include "peerlimits.h"
#include "rangescan.h"

#include <atomic>
#include <span>
#include <string>

namespace OpenProbe {

/// A target behind a GDB remote protocol stub: an emulator, a simulator, gdbserver, a debug server.
///
/// A stub that can only be asked while the target is halted gets a short stop around each transfer,
/// at most kSliceBytes long; where the stub permits it, stop, requests and "continue" go out in one
/// piece, so that nothing that happens to this process can leave the target stopped. The target is
/// left as it was found: one that ran runs on, a halt that was not ours stays.
class GdbBackend : public Backend {
public:
    explicit GdbBackend(TargetChoice choice);

    std::string Open(const CancelSignal &cancel) override;
    /// As Open, over an existing connection, which this object then owns.
    std::string OpenOver(int descriptor, const CancelSignal &cancel);
    bool Connect(const TargetSetup &setup) override;
    bool Alive() const noexcept override;
    int Read(std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t width) override;
    int Write(
        std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t width) override;
    std::uint32_t CoreId() override { return m_coreId; }
    std::uint32_t SetSpeed(std::uint32_t) override { return 0; } // such a link has none
    void Close() noexcept override;

private:
    class Reader;
    struct ReadRequest {
        std::uint32_t address;
        std::span<std::uint8_t> data;
    };

    [[nodiscard]] std::string Greet();
    void FindCoreId();
    [[nodiscard]] std::string ReadDocument(const std::string &name);
    [[nodiscard]] bool BeginAccess();
    [[nodiscard]] bool HaltTarget();
    void EndAccess();
    [[nodiscard]] bool LetItRunForAMoment();
    [[nodiscard]] bool NoteUnasked();
    [[nodiscard]] bool AsksInOneStop() const;
    [[nodiscard]] bool Ask(std::string_view request, std::string &reply);
    [[nodiscard]] bool AskOnceMore(std::string_view request, std::string &reply);
    template <typename IsLast>
    [[nodiscard]] bool AskAll(std::span<const std::string> requests, IsLast isLast);
    [[nodiscard]] PieceResult TakeReadReply(const ReadRequest &request, std::string_view reply);
    [[nodiscard]] PieceResult ReadAll(
        std::span<const ReadRequest> requests, PieceResult endsAt = PieceResult::Unreadable);
    [[nodiscard]] PieceResult ReadPiece(
        std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t width);
    [[nodiscard]] bool WritePieces(
        std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t width);
    bool Lose();

    TargetChoice m_choice;
    TcpLink m_link;
    RspSession m_session{m_link};
    const CancelSignal *m_cancel = nullptr;
    TransferTime m_time;
    std::atomic<bool> m_lost = false;
    GdbStub m_stub;
    std::uint32_t m_coreId = 0;
    std::size_t m_sliceBytes = 0; // moved since the target ran last
    KnownRanges m_known;
};

} // namespace OpenProbe

#pragma once

#include "backend.h"
#include "knownranges.h"
#include "peerlimits.h"
#include "rangescan.h"
#include "targetchoice.h"
#include "tcplink.h"

#include <atomic>

namespace OpenProbe {

/// A real core behind OpenOCD, reached through its Tcl server: it is never halted, accesses have
/// exactly the wanted width, and errors are reported.
class TclBackend : public Backend {
public:
    explicit TclBackend(TargetChoice choice);

    std::string Open(const CancelSignal &cancel) override;
    /// As Open, over an existing connection, which this object then owns.
    std::string OpenOver(int descriptor, const CancelSignal &cancel);
    bool Connect(const TargetSetup &) override { return Alive(); }
    bool Alive() const noexcept override { return !m_lost && !m_link.HungUp(); }
    int Read(std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t width) override;
    int Write(
        std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t width) override;
    std::uint32_t CoreId() override { return m_coreId; }
    std::uint32_t SetSpeed(std::uint32_t speedKHz) override;
    void Close() noexcept override { m_link.Close(); }

private:
    class Reader;

    [[nodiscard]] std::string Greet();
    [[nodiscard]] bool Ask(std::string_view command, std::string &reply);
    [[nodiscard]] bool Receive(std::string &reply);
    [[nodiscard]] PieceResult ReadPiece(
        std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t width);
    [[nodiscard]] bool WritePieces(
        std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t width);
    [[nodiscard]] bool TargetAnswers();
    void FindCoreId();

    TargetChoice m_choice;
    TcpLink m_link;
    TransferTime m_time;
    std::chrono::milliseconds m_progressLimit = kHandshakeLimit;
    std::uint32_t m_number = 0; // of the last request
    std::atomic<bool> m_lost = false;
    bool m_bigEndian = false;
    bool m_isArmM = false;
    std::uint32_t m_coreId = 0;
    KnownRanges m_known;
};

} // namespace OpenProbe

#pragma once

#include <cstdint>
#include <functional>

/// The JTAG side of an Arm debug port (IEEE 1149.1 test access port, four instruction bits): takes
/// the pins' levels and hands whole scans on.
class JtagTap {
public:
    static constexpr unsigned kAbort = 0x8;
    static constexpr unsigned kDebugPort = 0xA;
    static constexpr unsigned kAccessPort = 0xB;
    static constexpr unsigned kIdCode = 0xE;

    struct Handlers {
        /// What a 35-bit scan of that instruction shifts out.
        std::function<std::uint64_t(unsigned instruction)> capture;
        /// What a 35-bit scan of that instruction has shifted in.
        std::function<void(unsigned instruction, std::uint64_t value)> update;
    };

    explicit JtagTap(Handlers handlers)
        : m_handlers(std::move(handlers))
    {
    }

    /// New levels of the pins. Things happen at the rising edge of the clock.
    void SetPins(bool clock, bool mode, bool dataIn);
    [[nodiscard]] bool DataOut() const { return (m_shift & 1) != 0; }
    void Reset();

private:
    enum State : std::uint8_t {
        TestLogicReset,
        RunTestIdle,
        SelectDr,
        CaptureDr,
        ShiftDr,
        Exit1Dr,
        PauseDr,
        Exit2Dr,
        UpdateDr,
        SelectIr,
        CaptureIr,
        ShiftIr,
        Exit1Ir,
        PauseIr,
        Exit2Ir,
        UpdateIr
    };

    void RisingEdge(bool mode, bool dataIn);
    void Enter(State state);
    void CaptureData();

    Handlers m_handlers;
    State m_state = TestLogicReset;
    bool m_clock = false;
    unsigned m_instruction = kIdCode;
    std::uint64_t m_shift = 0;
    unsigned m_bits = 1; // of the register being shifted
};

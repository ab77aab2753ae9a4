#pragma once

#include "debugport.h"
#include "simtarget.h"

#include <map>

/// The simulated microcontroller behind a debug access port, with the few debug registers of a
/// Cortex-M core that a debug server needs. Its program stops while the core is halted.
class BoardBus : public Bus {
public:
    using Clock = std::uint64_t (*)(); // milliseconds

    explicit BoardBus(Clock clock);

    bool Read(std::uint32_t address, unsigned width, std::uint32_t &value) override;
    bool Write(std::uint32_t address, unsigned width, std::uint32_t value) override;

private:
    void RunProgram();
    [[nodiscard]] static bool IsPrivate(std::uint32_t address);
    [[nodiscard]] std::uint32_t ReadPrivate(std::uint32_t address);
    void WritePrivate(std::uint32_t address, std::uint32_t value);

    Clock m_clock;
    std::uint64_t m_seenMs;
    std::uint64_t m_ranMs = 0;
    bool m_halted = false;
    bool m_wasReset = true;
    std::uint32_t m_debugControl = 0;
    std::map<std::uint32_t, std::uint32_t> m_registers; // what was written to the others
    OpenProbe::SimTarget m_target;
};

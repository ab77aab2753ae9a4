#pragma once

#include <cstdint>

/// The bus that the access port reaches: one access of 1, 2 or 4 bytes, aligned. False: bus fault.
class Bus {
public:
    virtual ~Bus() = default;
    [[nodiscard]] virtual bool Read(std::uint32_t address, unsigned width, std::uint32_t &value)
        = 0;
    [[nodiscard]] virtual bool Write(std::uint32_t address, unsigned width, std::uint32_t value)
        = 0;
};

/// An Arm debug port with one memory access port (Debug Interface version 5, JTAG flavour), as far
/// as a debug server uses them.
class DebugPort {
public:
    explicit DebugPort(Bus &bus)
        : m_bus(bus)
    {
    }

    /// What the next scan shifts out: acknowledgement and the result of the access before.
    [[nodiscard]] std::uint64_t Capture() const;
    /// An access as scanned in: bit 0 read, bits 1-2 the register, data above.
    void AccessDebugPort(std::uint64_t scan);
    void AccessAccessPort(std::uint64_t scan);

private:
    [[nodiscard]] std::uint32_t ReadPort(unsigned reg) const;
    void WritePort(unsigned reg, std::uint32_t value);
    [[nodiscard]] std::uint32_t ReadMemoryPort(unsigned reg);
    void WriteMemoryPort(unsigned reg, std::uint32_t value);
    [[nodiscard]] std::uint32_t ReadBus(std::uint32_t address, unsigned width);
    void WriteBus(std::uint32_t address, unsigned width, std::uint32_t value);
    [[nodiscard]] unsigned Width() const;
    void Advance();

    Bus &m_bus;
    std::uint32_t m_result = 0;
    std::uint32_t m_control = 0; // with the sticky error in place
    std::uint32_t m_select = 0;
    std::uint32_t m_accessControl = 2;
    std::uint32_t m_address = 0;
};

#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace OpenProbe {

class CancelSignal;

/// The result of a transfer that moved nothing and is no count: see Backend::Read and Write.
inline constexpr int kTransferFailed = -1;

/// What the host has set up before it connects to the target, as far as any back end uses it.
struct TargetSetup {
    std::string device;
    std::uint32_t speedKHz = 4000; // RANVO_SPEED_ADAPTIVE: adaptive clocking
};

/// One way to reach a target: simulated, or over a protocol.
///
/// ProbeLibrary owns the open one and calls it from one thread at a time; only Alive may be called
/// from another thread meanwhile. Every wait ends within its own time limit, and at once when the
/// cancel signal is raised.
class Backend {
public:
    Backend() = default;
    Backend(const Backend &) = delete;
    Backend &operator=(const Backend &) = delete;
    virtual ~Backend() = default;

    /// Connects to the probe or the stub.
    /// @return empty on success, otherwise a text that tells the user what to do next
    [[nodiscard]] virtual std::string Open(const CancelSignal &cancel) = 0;

    /// Connects to the target with the host's set-up. False when there is none.
    [[nodiscard]] virtual bool Connect(const TargetSetup &setup) = 0;

    /// False once the link is known to be gone. Any thread; never waits and asks nothing over it.
    [[nodiscard]] virtual bool Alive() const noexcept = 0;

    /// Reads target memory, at most up to the end of the address space.
    /// @param width  access width in bytes: 1, 2, 4, or 0 when the back end may choose
    /// @return data.size(), or the length of the readable prefix when nothing behind it is readable
    ///         (so 0 when nothing is), or kTransferFailed when readable bytes lie behind a hole or
    ///         the link is gone
    [[nodiscard]] virtual int Read(
        std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t width)
        = 0;

    /// Writes target memory. @return data.size(), or kTransferFailed
    [[nodiscard]] virtual int Write(
        std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t width)
        = 0;

    /// The core's identification word, 0 when unknown.
    [[nodiscard]] virtual std::uint32_t CoreId() = 0;

    /// Applies an interface speed. @return the one in use in kHz, 0 when the link has none
    [[nodiscard]] virtual std::uint32_t SetSpeed(std::uint32_t speedKHz) = 0;

    /// Ends the connection and leaves the target running or halted, as it was found. Called once,
    /// before destruction.
    virtual void Close() noexcept = 0;
};

} // namespace OpenProbe

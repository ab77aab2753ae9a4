#pragma once

#include "backend.h"

#include <atomic>

namespace OpenProbe {

/// The memory of a running process of this machine, as far as it lies below 4 GiB. The process
/// is never stopped. Access widths have no effect; writes change read-only pages too.
class PidBackend : public Backend {
public:
    /// @param process  a process number, or the name that the system shows for the process
    explicit PidBackend(std::string process)
        : m_process(std::move(process))
    {
    }
    ~PidBackend() override { PidBackend::Close(); }

    std::string Open(const CancelSignal &cancel) override;
    bool Connect(const TargetSetup &) override { return Alive(); }
    bool Alive() const noexcept override;
    int Read(std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t width) override;
    int Write(
        std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t width) override;
    std::uint32_t CoreId() override { return 0; }
    std::uint32_t SetSpeed(std::uint32_t) override { return 0; }
    void Close() noexcept override;

private:
    [[nodiscard]] std::string OpenProcess(int id);
    [[nodiscard]] std::size_t Prefix(std::uint32_t address, std::span<std::uint8_t> data);

    std::string m_process;
    int m_memory = -1;
    int m_exited = -1; // a process descriptor: readable once the process has ended
    std::atomic<bool> m_lost = false;
};

} // namespace OpenProbe

#include "simbackend.h"

#include "cancelsignal.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace OpenProbe {
namespace {

// A slow probe takes as long as a few hundred kilobits a second would; no transfer takes longer
// than a second and a half, the same bound as for targets behind a network.
constexpr std::uint64_t kSlowCallUs = 2'000;
constexpr std::uint64_t kSlowByteUs = 100;
constexpr std::uint64_t kMaxTransferMs = 1'500;

} // namespace

SimBackend::SimBackend(int index, Clock clock)
    : m_index(index)
    , m_clock(clock)
{
}

std::uint64_t SimBackend::MonotonicMs()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

std::string SimBackend::Open(const CancelSignal &cancel)
{
    m_cancel = &cancel;
    m_clockSeenMs = m_clock();
    if (m_index == kUnplugs)
        m_unplugAtMs = m_clockSeenMs + kUnplugsAfterMs;
    return {};
}

bool SimBackend::Connect(const TargetSetup &setup)
{
    const DeviceEntry *device = FindDevice(setup.device.c_str());
    m_target = std::make_unique<SimTarget>(
        device != nullptr ? *device : *DeviceAt(0), m_index == kBigEndian);
    m_targetMs = 0;
    return Alive();
}

bool SimBackend::Alive() const noexcept
{
    return !m_unplugged && m_clock() < m_unplugAtMs;
}

// The target's time advances with the clock at each access, unless the fixture holds it still.
void SimBackend::RunTarget()
{
    const std::uint64_t now = m_clock();
    const std::uint64_t passed = now - std::exchange(m_clockSeenMs, now);
    SimFaults &faults = m_target->Faults();
    if (faults.frozen == 0)
        m_targetMs += passed;
    m_targetMs += std::exchange(faults.advanceMs, 0);
    m_target->RunUntil(m_targetMs);
}

// Waits for as long as the transfer is to take. False when the probe was unplugged meanwhile.
bool SimBackend::Prepare(std::size_t bytes)
{
    std::uint64_t delayMs = m_target->Faults().delayMs;
    if (m_index == kSlow)
        delayMs += (kSlowCallUs + kSlowByteUs * bytes) / 1000;
    if (delayMs != 0 && m_cancel->WaitFor(static_cast<int>(std::min(delayMs, kMaxTransferMs))))
        return false;
    if (delayMs > kMaxTransferMs && m_index != kSlow)
        m_unplugged = true; // a probe that does not answer in time counts as gone
    RunTarget();
    return Alive();
}

int SimBackend::Read(std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t width)
{
    if (!Prepare(data.size()))
        return kTransferFailed;
    std::uint32_t &readsLeft = m_target->Faults().readsUntilUnplugged;
    if (readsLeft != 0 && --readsLeft == 0) {
        m_unplugged = true;
        return kTransferFailed;
    }
    return m_target->Read(address, data, width);
}

int SimBackend::Write(
    std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t width)
{
    if (!Prepare(data.size()))
        return kTransferFailed;
    return m_target->Write(address, data, width);
}

} // namespace OpenProbe

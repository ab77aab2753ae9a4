#include "probelibrary.h"

#include "deadline.h"
#include "devicetable.h"
#include "gdbbackend.h"
#include "openerrors.h"
#include "pidbackend.h"
#include "simbackend.h"
#include "tclbackend.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace OpenProbe {
namespace {

constexpr std::chrono::milliseconds kCloseWait{300};
constexpr std::string_view kDeviceCommand = "Device";

std::string_view WithoutBlanks(std::string_view text)
{
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
        text.remove_suffix(1);
    return text;
}

/// Calls its function at the end of the block, also when lack of memory ends it.
template <typename Function> class Finally {
public:
    explicit Finally(Function function)
        : m_function(function)
    {
    }
    Finally(const Finally &) = delete;
    Finally &operator=(const Finally &) = delete;
    ~Finally() { m_function(); }

private:
    Function m_function;
};

} // namespace

std::unique_ptr<Backend> MakeBackend(const TargetChoice &choice)
{
    switch (choice.kind) {
    case TargetKind::Gdb:
        return std::make_unique<GdbBackend>(choice);
    case TargetKind::Tcl:
        return std::make_unique<TclBackend>(choice);
    case TargetKind::Pid:
        return std::make_unique<PidBackend>(choice.process);
    case TargetKind::Sim:
        break;
    }
    return std::make_unique<SimBackend>(choice.simIndex);
}

ProbeLibrary &ProbeLibrary::Instance()
{
    static auto *const instance = new ProbeLibrary;
    return *instance;
}

const char *ProbeLibrary::Open()
{
    RefreshPatience();
    const std::uint64_t mark = m_gate.BeginOpen();
    m_gate.Enter();
    const Finally leave([this] { m_gate.Leave(); });
    const std::string error = OpenSelected(mark);
    std::snprintf(m_errorText.data(), m_errorText.size(), "%s", error.c_str());
    return error.empty() ? nullptr : m_errorText.data();
}

// The gate is held. A former connection may still exist: after a loss the host does not close it.
std::string ProbeLibrary::OpenSelected(std::uint64_t mark)
{
    TearDown();
    TargetChoice choice;
    {
        const std::lock_guard lock(m_setupMutex);
        choice = std::exchange(m_choice, std::nullopt).value_or(TargetChoice{});
        m_speedInUseKHz = 0;
    }
    if (!m_gate.ClearForOpen(mark))
        return kCanceledText;
    if (!choice.error.empty())
        return choice.error;
    auto backend = MakeBackend(choice);
    std::string error = backend->Open(m_gate.Cancelled());
    if (error.empty()) {
        m_gate.WithState([&](bool) { m_backend = std::move(backend); });
        if (m_gate.SetUp(mark))
            return {};
        TearDown();
        return kCanceledText;
    }
    backend->Close();
    return m_gate.Cancelled().IsRaised() ? kCanceledText : error;
}

void ProbeLibrary::Close()
{
    m_gate.Cancel();
    if (!m_gate.EnterWithin(kCloseWait))
        return; // the operation that holds the gate sees the cancel and closes the back end
    TearDown();
    m_gate.Leave();
}

// The gate is held. Takes the back end out first, so that IsConnected never sees half of one.
void ProbeLibrary::TearDown()
{
    std::unique_ptr<Backend> old;
    m_gate.WithState([&](bool) {
        old = std::move(m_backend);
        m_connected = false;
    });
    if (old != nullptr)
        old->Close();
}

// Ends an operation. If a Close could not wait for it, the back end is closed here.
void ProbeLibrary::LeaveAfterUse()
{
    if (m_backend != nullptr && !m_backend->Alive())
        m_gate.SetDown();
    if (!m_gate.WithState([](bool up) { return up; }) && m_gate.Cancelled().IsRaised())
        TearDown();
    m_gate.Leave();
}

template <typename Function>
auto ProbeLibrary::WithTarget(
    Function function, decltype(function(std::declval<Backend &>())) whenDown)
{
    if (!m_gate.EnterWhileUp())
        return whenDown;
    const Finally leave([this] { LeaveAfterUse(); });
    return m_backend != nullptr && m_backend->Alive() ? function(*m_backend) : whenDown;
}

bool ProbeLibrary::IsConnected()
{
    return m_gate.WithState([this](bool up) {
        return up && m_connected && m_backend != nullptr && m_backend->Alive();
    });
}

bool ProbeLibrary::Connect()
{
    TargetSetup setup;
    {
        const std::lock_guard lock(m_setupMutex);
        setup = m_setup;
    }
    std::uint32_t speed = 0;
    const bool connected = WithTarget(
        [&](Backend &backend) {
            if (!backend.Connect(setup))
                return false;
            speed = backend.SetSpeed(setup.speedKHz);
            m_gate.WithState([this](bool up) { m_connected = up; });
            return true;
        },
        false);
    const std::lock_guard lock(m_setupMutex);
    m_speedInUseKHz = speed;
    return connected;
}

void ProbeLibrary::Select(TargetChoice choice)
{
    const std::lock_guard lock(m_setupMutex);
    m_choice = std::move(choice);
}

bool ProbeLibrary::ExecCommand(std::string_view command, std::string &reply)
{
    const std::size_t equals = command.find('=');
    const std::string_view name = WithoutBlanks(command.substr(0, equals));
    if (equals == std::string_view::npos || name != kDeviceCommand) {
        reply = "Unknown command: " + std::string(name);
        return false;
    }
    const std::string device(WithoutBlanks(command.substr(equals + 1)));
    const bool known = FindDevice(device.c_str()) != nullptr;
    reply = known ? std::string{} : "Unknown device: " + device;
    const std::lock_guard lock(m_setupMutex);
    m_setup.device = device;
    return known;
}

void ProbeLibrary::SetSpeed(std::uint32_t speedKHz)
{
    {
        const std::lock_guard lock(m_setupMutex);
        m_setup.speedKHz = speedKHz;
    }
    if (!IsConnected())
        return; // Connect applies it
    const std::uint32_t inUse = WithTarget(
        [&](Backend &backend) { return backend.SetSpeed(speedKHz); }, std::uint32_t{0});
    const std::lock_guard lock(m_setupMutex);
    m_speedInUseKHz = inUse;
}

std::uint32_t ProbeLibrary::SpeedKHz()
{
    const std::lock_guard lock(m_setupMutex);
    return m_speedInUseKHz;
}

std::uint32_t ProbeLibrary::CoreId()
{
    return WithTarget([this](Backend &backend) { return m_connected ? backend.CoreId() : 0U; }, 0U);
}

int ProbeLibrary::Read(std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t width)
{
    return WithTarget(
        [&](Backend &backend) {
            return m_connected ? backend.Read(address, data, width) : kTransferFailed;
        },
        kTransferFailed);
}

int ProbeLibrary::Write(
    std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t width)
{
    return WithTarget(
        [&](Backend &backend) {
            return m_connected ? backend.Write(address, data, width) : kTransferFailed;
        },
        kTransferFailed);
}

} // namespace OpenProbe

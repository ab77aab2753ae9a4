#pragma once

#include "backend.h"
#include "operationgate.h"
#include "targetchoice.h"

#include <array>
#include <memory>
#include <optional>
#include <string_view>

namespace OpenProbe {

/// The state behind the exported functions: what is selected and set up, and the open back end.
///
/// Every function may be called from any thread. Transfers and Open run one at a time; IsConnected
/// never waits for them, transfers return kTransferFailed at once while the probe is down, and
/// Close ends an Open or a transfer that another thread is in.
class ProbeLibrary {
public:
    /// The one instance. Never destroyed: a worker may still be inside a call when the process
    /// ends.
    static ProbeLibrary &Instance();

    const char *Open();
    void Close();
    [[nodiscard]] bool IsConnected();
    [[nodiscard]] bool Connect();

    /// Keeps the choice for the next Open alone, so that a later Open without one gets the
    /// default target and not an old host.
    void Select(TargetChoice choice);

    /// Runs "NAME = VALUE". False when the command or its value is unknown. The reply is a text for
    /// the user.
    bool ExecCommand(std::string_view command, std::string &reply);

    void SetSpeed(std::uint32_t speedKHz);

    [[nodiscard]] std::uint32_t SpeedKHz();
    [[nodiscard]] std::uint32_t CoreId();
    [[nodiscard]] int Read(
        std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t width);
    [[nodiscard]] int Write(
        std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t width);

private:
    std::string OpenSelected(std::uint64_t mark);
    void TearDown();
    void LeaveAfterUse();
    template <typename Function>
    auto WithTarget(Function function, decltype(function(std::declval<Backend &>())) whenDown);

    OperationGate m_gate;
    std::unique_ptr<Backend> m_backend; // replaced under the gate and its short mutex
    bool m_connected = false;           // written under the gate and its short mutex
    std::array<char, 512> m_errorText{};

    std::mutex m_setupMutex; // guards the set-up below; nothing is called under it
    TargetSetup m_setup;
    std::optional<TargetChoice> m_choice;
    std::uint32_t m_speedInUseKHz = 0;
};

/// Makes the back end of a choice that holds no error.
[[nodiscard]] std::unique_ptr<Backend> MakeBackend(const TargetChoice &choice);

} // namespace OpenProbe

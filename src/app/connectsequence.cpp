#include "connectsequence.h"

#include "appstate.h"
#include "probesession.h"
#include "windowreports.h"
#include "workeractions.h"

#include "connectionrecord.h"
#include "connectionsettings.h"
#include "ranvoapi.h"
#include "utilformat.h"

#include <array>
#include <cstring>

namespace {

using ComposedText = std::array<char, 1024>;

/// Selects the probe that the record names. Writes a progress line into text, which is deliberately
/// never shown: it would flash by too quickly to be read.
void SelectProbe(
    const ConnectionRecord &record, ConnectionGeneration generation, ComposedText &text)
{
    if (record.ConnectMode == kConnectModeTcpIp) {
        UTIL_Format(text, "Connecting via TCP/IP to %s", record.HostName.data());
        RANVOARM_SelectIP(record.HostName.data(), 0);
    } else if (record.UseSerialNo != 0 && record.USBSerialNo > kLastUsbIndex) {
        UTIL_Format(text, "Connecting via USB to Ranvo with SN %d", record.USBSerialNo);
        if (RANVOARM_EMU_SelectByUSBSN(record.USBSerialNo) < 0)
            APP_ShowConnectError("No emulator with given S/N connected!", generation);
    } else if (record.UseSerialNo != 0) {
        UTIL_Format(text, "Connecting via USB to Ranvo device %d", record.USBSerialNo);
        RANVOARM_SelectUSB(static_cast<int>(record.USBSerialNo));
    }
}

void SetInterfaceSpeed(const ConnectionRecord &record)
{
    if (record.UseMaxSpeed != 0) {
        RANVOARM_SetMaxSpeed();
        return;
    }
    RANVOARM_SetSpeed(static_cast<std::uint32_t>(record.Speed));
    if (record.UseAdaptive != 0)
        RANVOARM_SetSpeed(RANVO_SPEED_ADAPTIVE);
}

void ConfigureAndConnect(const ConnectionRecord &record)
{
    std::array<char, 256> command{};
    std::array<char, 256> reply{};
    UTIL_Format(command, "Device = %s", record.Device.data());
    RANVOARM_ExecCommand(command.data(), reply.data(), static_cast<int>(reply.size()));
    RANVOARM_SetEndian(record.EndianMode);
    RANVOARM_TIF_Select(record.TargetIF);
    if (record.TargetIF == kTargetIfJtag) {
        const bool chain = record.MultipleTargets != 0;
        RANVOARM_ConfigJTAG(chain ? record.IRPre : 0, chain ? record.DRPre : 0);
    }
    SetInterfaceSpeed(record);
    RANVOARM_Connect();
}

/// @return whether the probe is open now
bool OpenProbe(ConnectionGeneration generation, ComposedText &text)
{
    const char *const error = PROBE_OpenSession();
    if (error == nullptr)
        return true;
    UTIL_Format(text, "Could not connect to Ranvo:\n%s", error);
    // A failed open may leave the library half open.
    PROBE_CloseSession();
    APP_ShowConnectError(text.data(), generation);
    return false;
}

/// Reports how the connect ended: to the user and to the main window.
void Announce(ConnectOutcome outcome, ConnectionGeneration generation)
{
    if (outcome == ConnectOutcome::NoTarget)
        APP_ShowConnectError("Could not connect to target for unknown reason", generation);
    if (outcome == ConnectOutcome::Connected || outcome == ConnectOutcome::Reconnected)
        WORKER_PostStatusUpdate();
    APP_UpdateGui(); // also creates the memory window
    if (outcome == ConnectOutcome::Reconnected)
        APP_RefreshMemoryWindow();
}

} // namespace

void WORKER_RunConnectSequence()
{
    ConnectionState &connection = APP_State().connection;
    if (PROBE_IsConnected()) {
        if (connection.IsOfPresent() || !connection.IsWanted())
            return;
        PROBE_CloseSession(); // of the settings before; the disconnect for it is still queued
    }
    const std::optional<ConnectionGeneration> generation = connection.BeginOpening();
    if (!generation)
        return;
    // The GUI thread may replace the settings meanwhile: one consistent copy for the whole
    // sequence. It is no older than the generation, which is raised after the settings.
    const ConnectionRecord record = SETTINGS_Snapshot();
    ComposedText text{};
    SelectProbe(record, *generation, text);
    const bool open = OpenProbe(*generation, text);
    if (open && connection.Generation() == *generation)
        ConfigureAndConnect(record);
    const ConnectOutcome outcome = connection.EndOpening(*generation, PROBE_IsConnected() != 0);
    if (outcome == ConnectOutcome::OutOfDate)
        PROBE_CloseSession(); // the window's own close may have come before this open succeeded
    else
        Announce(outcome, *generation);
}

void WORKER_RunStatusUpdate()
{
    // A connection that is out of date is about to be closed: its status is no longer shown.
    if (!APP_State().connection.IsUpToDate() || !PROBE_IsConnected()) {
        APP_UpdateGui();
        return;
    }
    alignas(8) std::array<std::uint8_t, RANVO_ID_DATA_SIZE> idData{};
    RANVOARM_GetIdData(idData.data());
    std::uint32_t coreId = 0;
    std::memcpy(&coreId, idData.data() + RANVO_ID_DATA_CORE_ID_OFFSET, sizeof(coreId));
    std::array<char, 64> text{};
    APP_SetStatusField("Connected", kStatusConnection);
    UTIL_Format(text, "ARM core id: 0x%.8X", coreId);
    APP_SetStatusField(text.data(), kStatusCore);
    const unsigned speedKHz = static_cast<unsigned>(RANVOARM_GetSpeed()) & 0xFFFFu;
    if (speedKHz == RANVO_SPEED_ADAPTIVE)
        UTIL_Format(text, "Adaptive clocking");
    else
        UTIL_Format(text, "Speed: %d kHz", speedKHz);
    APP_SetStatusField(text.data(), kStatusSpeed);
}

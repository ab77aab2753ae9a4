#include "optionstring.h"

#include "configstate.h"
#include "configtables.h"
#include "utilformat.h"
#include "utiltext.h"

namespace {

constexpr std::uint32_t kPieceChars = 1024;
using Piece = std::array<char, kPieceChars>;

template <typename... Args> void Append(Piece &options, const char *format, Args... args)
{
    Piece piece{};
    UTIL_Format(piece, format, args...);
    UTIL_AppendText(options, piece.data());
}

void AppendBuilt(Piece &options, OptionBuilder build, const ConfigState &state)
{
    Piece piece{};
    build(state, piece.data(), kPieceChars);
    UTIL_AppendText(options, piece.data());
}

} // namespace

void FormatUsbOption(const ConfigState &state, char *piece, std::uint32_t size)
{
    std::array<char, 64> number{};
    if (state.useSerialNo)
        UTIL_Format(number, "=%d", state.usbSerialNo);
    UTIL_Format(piece, size, "-select USB%s", number.data());
}

void FormatIpOption(const ConfigState &state, char *piece, std::uint32_t size)
{
    std::array<char, 64> host{};
    if (state.hostName.front() != '\0')
        UTIL_Format(host, "=%s", state.hostName.data());
    UTIL_Format(piece, size, "-select IP%s", host.data());
}

void FormatSpeedOption(const ConfigState &state, char *piece, std::uint32_t size)
{
    std::array<char, 32> speed{};
    if (state.speedMode == kAutoSpeed)
        UTIL_CopyText(speed, "auto");
    else if (state.speedMode == kAdaptiveSpeed)
        UTIL_CopyText(speed, "adaptive");
    else if (state.frequencyIndex == kCustomFrequency)
        UTIL_CopyText(speed, CustomSpeedText().data());
    else
        UTIL_Format(speed, "%d", kFrequenciesKHz[state.frequencyIndex]);
    UTIL_Format(piece, size, " -speed %s", speed.data());
}

std::array<char, 1024> MakeOptionString(const ConfigState &state)
{
    Piece options{};
    AppendBuilt(options, kConnections[state.connectionIndex].formatOption, state);
    Append(options, " -device %s", state.deviceName.data());
    Append(options, " -endian %s", kEndians[state.endianIndex].optionWord);
    Append(options, " -if %s", kInterfaces[state.interfaceIndex].name);
    AppendBuilt(options, kSpeeds[state.speedMode].formatOption, state);
    Append(options, " -%s", state.initRegs ? "ir" : "noir");
    Append(options, " -%s", state.localhostOnly ? "LocalhostOnly" : "noLocalhostOnly");
    return options;
}

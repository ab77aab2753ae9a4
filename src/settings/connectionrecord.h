#pragma once

#include <array>
#include <cstdint>
#include <type_traits>

inline constexpr std::int32_t kConnectModeUsb = 1;
inline constexpr std::int32_t kConnectModeTcpIp = 2;
inline constexpr std::int32_t kTargetIfJtag = 0;
inline constexpr std::int32_t kTargetIfSwd = 1;
inline constexpr std::int32_t kDefaultSpeedKHz = 4000;
/// USBSerialNo values up to this one are USB device indexes; above it they are serial numbers.
inline constexpr std::uint32_t kLastUsbIndex = 3;

/// How to reach the probe and the target. Plain data, compared and copied byte for byte.
struct ConnectionRecord {
    std::uint32_t UseSerialNo;      ///< 1: select the probe by USBSerialNo
    std::uint32_t InitRegs;         ///< shown in the connection dialog only, never saved
    std::uint32_t LocalhostOnly;    ///< shown in the connection dialog only, never saved
    std::uint32_t MultipleTargets;  ///< 1: IRPre and DRPre apply
    std::uint32_t USBSerialNo;      ///< 0..3 a USB device index, above a serial number
    std::int32_t ConnectMode;       ///< kConnectModeTcpIp; any other value is USB
    std::int32_t TargetIF;          ///< 0 JTAG, 1 SWD, 3 FINE, 4 ICSP
    std::uint32_t UseMaxSpeed;      ///< 1: the probe chooses the highest speed
    std::uint32_t UseAdaptive;      ///< 1: adaptive clocking, JTAG only
    std::int32_t Speed;             ///< fixed interface speed in kHz
    std::int32_t DRPre;             ///< data-register bits in front of the target
    std::int32_t IRPre;             ///< instruction-register bits in front of the target
    std::int32_t EndianMode;        ///< 0 little, 1 big
    std::array<char, 128> Device;   ///< NUL-terminated target device name
    std::array<char, 128> HostName; ///< NUL-terminated host name or address
};
static_assert(sizeof(ConnectionRecord) == 13 * 4 + 2 * 128);
static_assert(std::is_trivially_copyable_v<ConnectionRecord>);
// Padding would make equal records differ.
static_assert(std::has_unique_object_representations_v<ConnectionRecord>);

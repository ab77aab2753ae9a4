#pragma once

#include "deadline.h"

#include <cstddef>

namespace OpenProbe {

/// The time limits for a peer of any kind; each is multiplied by Patience().
inline constexpr std::chrono::milliseconds kConnectLimit{2000};
inline constexpr std::chrono::milliseconds kHandshakeLimit{1500};
inline constexpr std::chrono::milliseconds kProgressLimit{500}; // without a byte in a transfer
inline constexpr std::chrono::milliseconds kTransferLimit{1500};

/// The time of one transfer: kTransferLimit for each so many bytes that are asked for.
class TransferTime {
public:
    /// @param bytesPerLimit  what even a slow peer can transfer in that time
    explicit TransferTime(std::size_t bytesPerLimit)
        : m_bytesPerLimit(bytesPerLimit)
    {
    }

    /// A transfer begins.
    void Begin() { Renew(); }

    /// Bytes are about to be asked for. A small request counts like one of kSmallestRequest bytes.
    void Ask(std::size_t bytes)
    {
        m_asked += std::max(bytes, kSmallestRequest);
        if (m_asked > m_bytesPerLimit)
            Renew();
    }

    /// The time by which everything requested so far must have arrived.
    [[nodiscard]] Deadline End() const { return m_end; }

    static constexpr std::size_t kSmallestRequest = 32;

private:
    void Renew()
    {
        m_end = Deadline::ForPeer(kTransferLimit);
        m_asked = 0;
    }

    std::size_t m_bytesPerLimit;
    std::size_t m_asked = 0;
    Deadline m_end = Deadline::After({});
};

} // namespace OpenProbe

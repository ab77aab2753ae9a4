#pragma once

#include "fuzzinput.h"

#include <array>
#include <atomic>
#include <span>
#include <string>
#include <string_view>
#include <thread>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

/// The far end of a socket pair, served on a thread of its own until either side has enough.
///
/// When both sides wait for each other, the far end hangs up after a moment, so that no
/// conversation waits for a time limit.
class FuzzPeer {
public:
    FuzzPeer()
    {
        std::array<int, 2> ends{};
        FuzzRequire(
            socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0, "sockets");
        m_here = ends[0];
        m_there = ends[1];
    }

    FuzzPeer(const FuzzPeer &) = delete;
    FuzzPeer &operator=(const FuzzPeer &) = delete;

    virtual ~FuzzPeer() = default;

    /// The client's end. The client closes it.
    [[nodiscard]] int Here() const { return m_here; }

    void Start()
    {
        m_thread = std::thread([this] {
            std::array<char, 4096> block{};
            pollfd entry{m_there, POLLIN, 0};
            bool goesOn = Greet();
            while (goesOn && !(gaveUp = poll(&entry, 1, kMomentMs) <= 0)) {
                const ssize_t got = recv(m_there, block.data(), block.size(), 0);
                goesOn = got > 0 && Take({block.data(), static_cast<std::size_t>(got)});
            }
            close(m_there);
        });
    }

    /// Whether it hung up because the client asked nothing for a moment.
    std::atomic<bool> gaveUp = false;

    /// After the client has closed. Always before this object goes.
    void Join() { m_thread.join(); }

protected:
    /// What is sent before anything has come. False hangs up.
    virtual bool Greet() { return true; }

    /// Takes bytes of the client. False hangs up.
    virtual bool Take(std::string_view bytes) = 0;

    bool Send(std::string_view bytes) const
    {
        return send(m_there, bytes.data(), bytes.size(), MSG_NOSIGNAL)
            == static_cast<ssize_t>(bytes.size());
    }

private:
    static constexpr int kMomentMs = 10;

    int m_here = -1;
    int m_there = -1;
    std::thread m_thread;
};

/// A page of memory that both sides look at: the far end serves it, the near end compares.
class FuzzMemory {
public:
    static constexpr std::uint32_t kStart = 0x1000;
    static constexpr std::uint32_t kSize = 0x1000;

    FuzzMemory()
    {
        for (std::uint32_t i = 0; i < kSize; ++i)
            m_bytes[i] = static_cast<std::uint8_t>(i * 0x9E3779B1U >> 24);
    }

    /// Readable but for a hole in the middle and the last quarter.
    [[nodiscard]] static bool Answers(std::uint32_t address, std::size_t count = 1)
    {
        const std::uint32_t at = address - kStart;
        return at < 0xC00 && at + count <= 0xC00 && (at + count <= 0x400 || at >= 0x410);
    }

    std::atomic<std::uint8_t> &At(std::uint32_t address) { return m_bytes[address % kSize]; }

private:
    std::array<std::atomic<std::uint8_t>, kSize> m_bytes;
};

/// Reads and writes as the input says, and compares what is read as long as the far end is honest.
/// @param lied  whether the far end has sent a false answer that cannot be told from a true one
template <typename Target>
void FuzzTransfers(
    Target &target, FuzzMemory &memory, FuzzInput &input, const std::atomic<bool> &lied)
{
    constexpr std::array<std::uint32_t, 4> kWidths = {0, 1, 2, 4};
    std::array<std::uint8_t, 512> data{};
    for (int i = 0; i < 12 && target.Alive(); ++i) {
        const unsigned kind = input.Byte();
        const std::uint32_t offset = (unsigned{input.Byte()} << 5U | kind >> 3U) % (0xC00U + 128U);
        const std::uint32_t address = FuzzMemory::kStart - 64 + offset;
        const std::size_t count = 1 + (std::size_t{input.Byte()} << (kind & 1U)) % data.size();
        const auto bytes = std::span(data).first(count);
        const std::uint32_t width = kWidths[kind >> 1 & 3];
        if (kind % 7 == 0) {
            for (std::uint8_t &byte : bytes)
                byte = input.Byte();
            const int written = target.Write(address, bytes, width);
            FuzzRequire(written == -1 || written == static_cast<int>(count), "all or nothing");
            FuzzRequire(lied || written == -1 || FuzzMemory::Answers(address, count),
                "nothing is written to nowhere");
            continue;
        }
        const int got = target.Read(address, bytes, width);
        FuzzRequire(got >= -1 && got <= static_cast<int>(count), "no more than asked for");
        for (int at = 0; at < got && !lied; ++at) {
            const auto place = address + static_cast<std::uint32_t>(at);
            FuzzRequire(FuzzMemory::Answers(place)
                    && data[static_cast<std::size_t>(at)] == memory.At(place),
                "what is read is what is there");
        }
    }
}

#pragma once

#include "memcallbacks.h"
#include "memtypes.h"

#include <QtCore>

#include <chrono>
#include <cstdint>
#include <functional>
#include <set>
#include <thread>
#include <vector>

/// Target memory for the memory window: bytes with a value each, addresses that cannot be read and
/// a log of the calls. Only one may exist at a time, since the host's callbacks carry no context.
class FakeTarget {
public:
    struct Call {
        std::uint64_t address;
        std::uint64_t length;
        std::uint8_t accessWidth;
        QByteArray zone;
        QByteArray written; ///< of a write
        bool operator==(const Call &) const = default;
    };

    FakeTarget() { s_current = this; }
    ~FakeTarget() { s_current = nullptr; }
    Q_DISABLE_COPY_MOVE(FakeTarget)

    [[nodiscard]] MemoryCallbacks Callbacks() const
    {
        return {Read, Write, ListZones, ShowMessage};
    }

    /// Memory is filled with a pattern in which neighbours differ; Set overrides a byte.
    [[nodiscard]] std::uint8_t ByteAt(std::uint64_t address) const
    {
        return m_bytes.value(
            address, std::uint8_t((address * 0x9E3779B97F4A7C15ULL) >> 40) ^ m_salt);
    }
    void Set(std::uint64_t address, std::uint8_t value) { m_bytes[address] = value; }
    /// Changes every byte that was not set.
    void ChangeAll() { ++m_salt; }

    std::set<std::uint64_t> unreadable; ///< a read that touches one of these fails as a whole
    bool failAll = false;
    bool failWrites = false;
    std::vector<Call> reads;
    std::vector<Call> writes;
    QStringList messages;
    QByteArray zones;
    int zoneCount = 0;
    bool logs = true;
    bool keepsWrites = true;         ///< else a write changes nothing
    unsigned callTakesMs = 0;        ///< how slow the target is
    std::function<void()> onMessage; ///< what the host does in a message

private:
    static int Read(std::uint64_t address, std::uint64_t length, std::uint8_t accessWidth,
        const char *zoneName, std::uint8_t *data, std::uint8_t *status)
    {
        FakeTarget &target = *s_current;
        std::this_thread::sleep_for(std::chrono::milliseconds(target.callTakesMs));
        if (target.logs)
            target.reads.push_back({address, length, accessWidth, zoneName, {}});
        const auto bad = target.unreadable.lower_bound(address);
        const bool fails
            = target.failAll || (bad != target.unreadable.end() && *bad < address + length);
        for (std::uint64_t i = 0; i < length; ++i) {
            data[i] = fails ? 0xDB : target.ByteAt(address + i);
            status[i] = fails ? 1 : 0;
        }
        return fails ? -1 : int(length);
    }
    static int Write(std::uint64_t address, std::uint64_t length, std::uint8_t accessWidth,
        const char *zoneName, const std::uint8_t *data)
    {
        FakeTarget &target = *s_current;
        std::this_thread::sleep_for(std::chrono::milliseconds(target.callTakesMs));
        if (target.logs)
            target.writes.push_back({address, length, accessWidth, zoneName,
                QByteArray(reinterpret_cast<const char *>(data), qsizetype(length))});
        if (target.failAll || target.failWrites)
            return -1;
        for (std::uint64_t i = 0; target.keepsWrites && i < length; ++i)
            target.Set(address + i, data[i]);
        return int(length);
    }
    static int ListZones(char *text, std::uint32_t size)
    {
        qstrncpy(text, s_current->zones.constData(), size);
        return s_current->zoneCount;
    }
    static void ShowMessage(const QString &text, int severity)
    {
        s_current->messages.append(QStringLiteral("%1: %2").arg(severity).arg(text));
        if (s_current->onMessage)
            s_current->onMessage();
    }

    static inline FakeTarget *s_current = nullptr;
    QHash<std::uint64_t, std::uint8_t> m_bytes;
    std::uint8_t m_salt = 0;
};

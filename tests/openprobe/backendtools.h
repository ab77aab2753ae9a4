#pragma once

#include "backend.h"
#include "cancelsignal.h"
#include "deadline.h"
#include "targetchoice.h"

#include <QtCore>

// Qt's types around the functions of a back end, for tests that drive one directly.

inline OpenProbe::TargetChoice At(
    quint16 port, OpenProbe::TargetKind kind = OpenProbe::TargetKind::Gdb)
{
    return {kind, 0, "127.0.0.1", port, {}, {}};
}

/// Time limits as that times the usual: 60 where a peer is to be waited for however busy the
/// machine is, 1 where it never answers.
inline void SetPatience(int patience)
{
    qputenv(OpenProbe::kPatienceVariable, QByteArray::number(patience));
    OpenProbe::RefreshPatience();
}

inline QString OpenError(OpenProbe::Backend &backend)
{
    static const OpenProbe::CancelSignal never;
    return QString::fromStdString(backend.Open(never));
}

inline int Read(OpenProbe::Backend &backend, quint32 address, QByteArray &data, quint32 width = 0)
{
    auto *const first = reinterpret_cast<std::uint8_t *>(data.data());
    return backend.Read(address, {first, size_t(data.size())}, width);
}

/// The bytes, or "result N" where not all of them could be read.
inline QByteArray Bytes(OpenProbe::Backend &backend, quint32 address, int count, quint32 width = 0)
{
    QByteArray data(count, '\xEE');
    const int got = Read(backend, address, data, width);
    return got == count ? data : "result " + QByteArray::number(got);
}

inline quint32 Word(OpenProbe::Backend &backend, quint32 address)
{
    return qFromLittleEndian<quint32>(Bytes(backend, address, 4, 4).constData());
}

inline int Write(
    OpenProbe::Backend &backend, quint32 address, const QByteArray &data, quint32 width = 0)
{
    const auto *const first = reinterpret_cast<const std::uint8_t *>(data.constData());
    return backend.Write(address, {first, size_t(data.size())}, width);
}

inline int WriteWord(OpenProbe::Backend &backend, quint32 address, quint32 value)
{
    QByteArray data(4, '\0');
    qToLittleEndian(value, data.data());
    return Write(backend, address, data, 4);
}

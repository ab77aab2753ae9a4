#pragma once

#include "peerprocess.h"

/// The addresses of a target that the tests use.
struct TargetPlaces {
    quint32 quiet = 0x20009000;       ///< 4 KiB that the target leaves alone
    quint32 big = 0x20010000;         ///< 64 KiB of readable memory
    quint32 counter = 0x20000020;     ///< a word that changes while the target runs
    quint32 unmapped = 0x30000000;    ///< 4 KiB that nothing answers
    quint32 holeBehind = 0x2003FFC0;  ///< 64 readable bytes, then at least 64 that are not
    quint32 holeInFront = 0x7FFF7FC0; ///< 64 unreadable bytes, then at least 64 readable ones
    quint32 coreId = 0;               ///< the core's identification; 0 where it tells none
};

/// A kind of running target that the library can reach.
class ProbeTarget {
public:
    virtual ~ProbeTarget() = default;

    /// Starts it from scratch, at the same place. False when it does not come up.
    virtual bool Start() = 0;
    /// Ends it at once, without closing connections.
    virtual void Kill() = 0;
    /// Whether the target's program runs; asked without the library.
    virtual bool Runs() { return true; }
    /// Empty when the program that this target needs is installed, else a sentence that says that
    /// it is not.
    QString Missing() const;

    QString needs;       ///< the program; empty: none
    QByteArray selector; ///< for the library; a process has it once it is started
    TargetPlaces places;
    PeerProcess *answerer = nullptr; ///< what answers the library and can be frozen
    /// Whether a client that leaves a frozen peer during the handshake leaves the target stopped
    /// until the next one comes. True only where the peer itself does so, whatever it was sent.
    bool stopsWhenAbandoned = false;
};

/// Firmware in an emulator with a debug stub, and a second way in to observe it.
class QemuTarget : public ProbeTarget {
public:
    /// @param name  one of the machines; the Arm one is watched by the tests of the stub
    explicit QemuTarget(const QString &name = "arm");
    bool Start() override;
    void Kill() override { m_process.Kill(); }
    bool Runs() override { return Monitor("query-status").contains("\"running\": true"); }
    /// The monitor's reply. "stop" and "cont" work past the stub.
    QByteArray Monitor(const QByteArray &text) const;

    const quint16 port = PeerProcess::FreePort();
    QStringList command; ///< that starts it

private:
    const quint16 m_monitorPort = PeerProcess::FreePort();
    PeerProcess m_process;
};

/// The real OpenOCD on the software board.
class OpenOcdTarget : public ProbeTarget {
public:
    OpenOcdTarget();
    bool Start() override;
    void Kill() override;
    /// The reply to a command of a client beside the library; empty when there is none.
    QByteArray Command(const QByteArray &text) const;

    const quint16 tclPort = PeerProcess::FreePort();
    const quint16 gdbPort = PeerProcess::FreePort();
    PeerProcess board;

private:
    PeerProcess m_server;
};

/// A process of this machine, looked into directly.
class ProcessTarget : public ProbeTarget {
public:
    bool Start() override;
    void Kill() override { m_process.Kill(); }
    bool Runs() override;
    qint64 Id() const { return m_process.Id(); }

    QString program; ///< where a copy is put and started; empty: the program itself

private:
    PeerProcess m_process;
};

/// A process of this machine behind gdbserver, which answers while the process runs.
class GdbServerTarget : public ProcessTarget {
public:
    GdbServerTarget();
    bool Start() override;
    void Kill() override;

private:
    const quint16 m_port = PeerProcess::FreePort();
    PeerProcess m_server;
};

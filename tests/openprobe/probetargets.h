#pragma once

#include "peerprocess.h"

/// Where a target has what the tests look for.
struct TargetPlaces {
    quint32 quiet = 0x20009000;       ///< 4 KiB that the target leaves alone
    quint32 big = 0x20010000;         ///< 64 KiB of readable memory
    quint32 counter = 0x20000020;     ///< a word that changes while the target runs
    quint32 unmapped = 0x30000000;    ///< 4 KiB that nothing answers
    quint32 holeBehind = 0x2003FFC0;  ///< 64 readable bytes, then at least 64 that are not
    quint32 holeInFront = 0x7FFF7FC0; ///< 64 unreadable bytes, then at least 64 readable ones
};

/// A kind of running target that the library can reach.
class ProbeTarget {
public:
    virtual ~ProbeTarget() = default;

    /// Why it cannot run here; empty when it can.
    virtual QString Missing() { return {}; }
    /// Starts it from scratch, at the same place. False when it does not come up.
    virtual bool Start() = 0;
    /// Ends it without a good-bye, as a pulled plug does.
    virtual void Kill() = 0;
    /// What answers the library and can be frozen; null when there is no such thing.
    virtual PeerProcess *Answerer() { return nullptr; }
    virtual QByteArray Selector() const = 0;
    /// Whether the target's program runs, asked past the library.
    virtual bool Runs() { return true; }
    virtual TargetPlaces Places() const { return {}; }
    /// The core's identification as the target tells it; 0 where it does not.
    virtual quint32 CoreId() const { return 0; }

    /// Whether a client that leaves a frozen peer during the handshake leaves the target stopped
    /// until the next one comes. True only where the peer itself does so, whatever it was sent.
    virtual bool StopsWhenAbandoned() const { return false; }
};

/// A machine of the emulator with its firmware.
struct QemuMachine {
    const char *name; ///< as the tests call it
    const char *program;
    QStringList options;
    const char *firmware; ///< a file of the firmware folder
    quint32 coreId;
    TargetPlaces places;
};

/// Firmware in an emulator with a debug stub, and a second way in to observe it.
class QemuTarget : public ProbeTarget {
public:
    /// @param name  one of the machines; the Arm one is watched by the tests of the stub
    explicit QemuTarget(const QString &name = "arm");
    /// Whether there is such a machine.
    static bool Knows(const QString &name);

    QString Missing() override { return PeerProcess::Missing(m_machine.program); }
    bool Start() override { return Start({}); }
    bool Start(const QStringList &more);
    void Kill() override { m_process.Kill(); }
    PeerProcess *Answerer() override { return &m_process; }
    QByteArray Selector() const override { return "127.0.0.1:" + QByteArray::number(m_port); }
    bool Runs() override { return RunState() == "running"; }
    TargetPlaces Places() const override { return m_machine.places; }
    quint32 CoreId() const override { return m_machine.coreId; }

    quint16 Port() const { return m_port; }
    /// The machine's state as the monitor tells it: "running", "paused", "prelaunch".
    QByteArray RunState() const;
    /// The monitor's reply. "stop" and "cont" work past the stub.
    QByteArray Monitor(const QByteArray &command) const;

private:
    const QemuMachine &m_machine;
    quint16 m_port = PeerProcess::FreePort();
    quint16 m_monitorPort = PeerProcess::FreePort();
    PeerProcess m_process;
};

/// The real OpenOCD on the software board.
class OpenOcdTarget : public ProbeTarget {
public:
    QString Missing() override { return PeerProcess::Missing("openocd"); }
    bool Start() override;
    void Kill() override;
    PeerProcess *Answerer() override { return &m_server; }
    QByteArray Selector() const override
    {
        return "tcl:127.0.0.1:" + QByteArray::number(m_tclPort);
    }
    quint32 CoreId() const override { return 0x410FC241; }

    PeerProcess &Board() { return m_board; }
    quint16 TclPort() const { return m_tclPort; }
    quint16 GdbPort() const { return m_gdbPort; }
    /// The reply to a command of a client beside the library; empty when there is none.
    QByteArray Command(const QByteArray &text) const;

private:
    quint16 m_tclPort = PeerProcess::FreePort();
    quint16 m_gdbPort = PeerProcess::FreePort();
    PeerProcess m_board;
    PeerProcess m_server;
};

/// A process of this machine, looked into directly.
class ProcessTarget : public ProbeTarget {
public:
    bool Start() override { return Start({}); }
    /// @param copy  where to put the copy of the program that is started; empty: the program itself
    bool Start(const QString &copy);
    void Kill() override { m_process.Kill(); }
    QByteArray Selector() const override { return "pid:" + QByteArray::number(Id()); }
    bool Runs() override;
    qint64 Id() const { return m_process.Id(); }

private:
    PeerProcess m_process;
};

/// A process of this machine behind gdbserver, which answers while the process runs.
class GdbServerTarget : public ProcessTarget {
public:
    QString Missing() override { return PeerProcess::Missing("gdbserver"); }
    bool Start() override;
    void Kill() override;
    PeerProcess *Answerer() override { return &m_server; }
    QByteArray Selector() const override { return "127.0.0.1:" + QByteArray::number(m_port); }
    bool StopsWhenAbandoned() const override { return true; }

private:
    quint16 m_port = PeerProcess::FreePort();
    PeerProcess m_server;
};

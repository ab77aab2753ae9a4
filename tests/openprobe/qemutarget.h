#pragma once

#include "peerprocess.h"

#include <QTemporaryDir>

/// The demo firmware in an emulator with a debug stub, and a second way in to observe it.
class QemuTarget {
public:
    /// Empty when the emulator is installed.
    static QString Missing();

    /// Starts it afresh on the same port. @param halted  it waits for somebody to let it run
    bool Start(bool halted = false);
    PeerProcess &Process() { return m_process; }
    quint16 Port() const { return m_port; }

    /// The machine's state as the monitor tells it: "running", "paused", "prelaunch".
    QByteArray RunState();
    /// Stops or continues the machine past the stub.
    bool Monitor(const QByteArray &command);

private:
    QByteArray Query(const QByteArray &command);

    QTemporaryDir m_directory;
    quint16 m_port = 0;
    PeerProcess m_process;
};

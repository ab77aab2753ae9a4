#pragma once

#include "peerprocess.h"

/// The real OpenOCD on the software board.
class OpenOcdTarget {
public:
    /// Empty when OpenOCD is installed.
    static QString Missing();

    /// Starts both afresh, OpenOCD's Tcl server at the same port again.
    bool Start();
    void Kill();
    PeerProcess &Server() { return m_server; }
    PeerProcess &Board() { return m_board; }
    quint16 TclPort() const { return m_tclPort; }
    quint16 GdbPort() const { return m_gdbPort; }

    /// The reply to a command of a client beside the library; empty when there is none.
    QByteArray Command(const QByteArray &text) const;

private:
    quint16 m_tclPort = 0;
    quint16 m_gdbPort = 0;
    PeerProcess m_board;
    PeerProcess m_server;
};

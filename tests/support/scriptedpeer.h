#pragma once

#include <QByteArray>
#include <functional>
#include <thread>

// Sockets of this machine alone, closed by the caller.

/// A socket that listens at a TCP port of 127.0.0.1 that nobody else uses.
/// @param backlog  how many connections wait to be accepted; one more is let in, the next ones hang
int ListenOnLoopback(quint16 *port, int backlog = 8);

/// A socket that is connected to a TCP port of 127.0.0.1, or -1.
int ConnectToLoopback(quint16 port);

/// A TCP server of 127.0.0.1 whose every connection is served by one function on a thread of its
/// own. The function reads and writes through this object and returns when the connection is over.
/// Clients have to close before this goes.
class ScriptedPeer {
public:
    using Serve = std::function<void(ScriptedPeer &)>;

    explicit ScriptedPeer(const Serve &serve);
    ~ScriptedPeer();

    quint16 Port() const { return m_port; }
    /// Sends all of it. False when the client is gone.
    bool Send(const QByteArray &bytes) const;
    /// What has come, at least one byte; empty when the client is gone.
    QByteArray Receive() const;
    /// Whether bytes wait to be received.
    bool MoreWaits() const;
    /// Returns when the client has closed.
    void AwaitClient() const;

private:
    quint16 m_port = 0;
    int m_listener;
    int m_client = -1;
    std::thread m_thread;
};

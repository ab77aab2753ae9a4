#pragma once

#include <QByteArray>
#include <functional>
#include <thread>

/// A socket that listens at a TCP port of 127.0.0.1 that nobody else uses. The caller closes it.
/// @param backlog  how many connections wait to be accepted; one more is let in, the next ones hang
int ListenOnLoopback(quint16 *port, int backlog = 8);

/// A TCP server at 127.0.0.1. One function, on a thread of its own, serves each connection: it
/// reads and writes through this object and returns when the connection is over. Clients have to
/// close before this is deleted.
class ScriptedPeer {
public:
    using Serve = std::function<void(ScriptedPeer &)>;

    explicit ScriptedPeer(const Serve &serve);
    ~ScriptedPeer();

    quint16 Port() const { return m_port; }
    /// Sends all of the bytes. @return false when the client has closed
    bool Send(const QByteArray &bytes) const;
    /// Waits for bytes. @return at least one, or none when the client has closed
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

#include "scriptedpeer.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

int ListenOnLoopback(quint16 *port, int backlog)
{
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(listener, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on); // its connections inherit that
    sockaddr_in address{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    socklen_t size = sizeof address;
    if (bind(listener, generic, size) != 0 || listen(listener, backlog) != 0
        || getsockname(listener, generic, &size) != 0)
        qFatal("no port of the loopback address is free");
    *port = ntohs(address.sin_port);
    return listener;
}

ScriptedPeer::ScriptedPeer(const Serve &serve)
    : m_listener(ListenOnLoopback(&m_port))
    , m_thread([this, serve] {
        while ((m_client = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC)) >= 0) {
            serve(*this);
            close(m_client);
        }
    })
{
}

ScriptedPeer::~ScriptedPeer()
{
    shutdown(m_listener, SHUT_RDWR); // ends the wait for the next client
    m_thread.join();
    close(m_listener);
}

bool ScriptedPeer::Send(const QByteArray &bytes) const
{
    return send(m_client, bytes.constData(), size_t(bytes.size()), MSG_NOSIGNAL) == bytes.size();
}

QByteArray ScriptedPeer::Receive() const
{
    char block[8192];
    const ssize_t got = recv(m_client, block, sizeof block, 0);
    return got > 0 ? QByteArray(block, int(got)) : QByteArray();
}

bool ScriptedPeer::MoreWaits() const
{
    pollfd entry{m_client, POLLIN, 0};
    return poll(&entry, 1, 0) > 0;
}

void ScriptedPeer::AwaitClient() const
{
    while (!Receive().isEmpty()) { }
}

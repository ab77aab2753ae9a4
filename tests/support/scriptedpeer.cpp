#include "scriptedpeer.h"

#include "loopback.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

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

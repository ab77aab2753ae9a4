#include "openocdtarget.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

QString OpenOcdTarget::Missing()
{
    return PeerProcess::Find("openocd").isEmpty() ? "openocd is not installed" : QString();
}

bool OpenOcdTarget::Start()
{
    Kill();
    if (m_tclPort == 0) {
        m_tclPort = PeerProcess::FreePort();
        m_gdbPort = PeerProcess::FreePort();
    }
    const quint16 boardPort = PeerProcess::FreePort();
    return m_board.Start(BOARD_MODEL, {QString::number(boardPort)})
        && PeerProcess::AwaitListener(boardPort)
        && m_server.Start("openocd",
            {"-c", QString("set MODEL_PORT %1").arg(boardPort), "-f", MODEL_CONFIG, "-c",
                QString("tcl_port %1; gdb_port %2; telnet_port disabled")
                    .arg(m_tclPort)
                    .arg(m_gdbPort)})
        && PeerProcess::AwaitListener(m_tclPort) && PeerProcess::AwaitListener(m_gdbPort);
}

void OpenOcdTarget::Kill()
{
    m_server.Kill();
    m_board.Kill();
}

QByteArray OpenOcdTarget::Command(const QByteArray &text) const
{
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(m_tclPort);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const timeval limit{10, 0};
    setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    const QByteArray command = text + '\x1a';
    QByteArray reply;
    if (connect(descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0
        && send(descriptor, command.constData(), size_t(command.size()), MSG_NOSIGNAL) > 0) {
        char block[4096];
        while (!reply.endsWith('\x1a')) {
            const ssize_t got = recv(descriptor, block, sizeof block, 0);
            if (got <= 0)
                break;
            reply.append(block, got);
        }
    }
    close(descriptor);
    return reply.chopped(reply.endsWith('\x1a') ? 1 : 0);
}

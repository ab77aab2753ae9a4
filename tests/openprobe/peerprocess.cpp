#include "peerprocess.h"

#include "scriptedpeer.h"

#include <QtTest>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

quint16 PeerProcess::FreePort()
{
    quint16 port = 0;
    close(ListenOnLoopback(&port));
    return port;
}

// Reads the kernel's table of listening sockets: a connection to try it would be a client already.
bool PeerProcess::AwaitListener(quint16 port)
{
    const QString row = QString(":%1 00000000:0000 0A").arg(port, 4, 16, QChar('0')).toUpper();
    const auto listens = [&] {
        QFile table("/proc/net/tcp");
        return table.open(QIODevice::ReadOnly) && table.readAll().contains(row.toLatin1());
    };
    return QTest::qWaitFor(listens, 60'000);
}

QByteArray PeerProcess::Converse(
    quint16 port, const QByteArray &request, const QByteArray &mark, int marks)
{
    const int descriptor = ConnectToLoopback(port);
    const timeval limit{20, 0};
    setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    send(descriptor, request.constData(), size_t(request.size()), MSG_NOSIGNAL);
    QByteArray all;
    char block[4096];
    for (ssize_t got = 1; got > 0 && all.count(mark) < marks;) {
        got = recv(descriptor, block, sizeof block, 0);
        all.append(block, std::max<ssize_t>(got, 0));
    }
    close(descriptor);
    return all;
}

// In a session of its own: a debug server sends the interrupt to a whole group of processes.
bool PeerProcess::Start(const QStringList &command)
{
    Kill();
    m_process.setStandardOutputFile(QProcess::nullDevice()); // nobody would empty a pipe
    m_process.setStandardErrorFile(QProcess::nullDevice());
    m_process.setStandardInputFile(QProcess::nullDevice());
    m_process.start("setsid", QStringList{"setpriv", "--pdeathsig", "KILL"} + command);
    return m_process.waitForStarted();
}

void PeerProcess::Signal(int number) const
{
    if (Id() != 0)
        ::kill(pid_t(Id()), number);
}

void PeerProcess::Kill()
{
    m_process.kill();
    m_process.waitForFinished();
}

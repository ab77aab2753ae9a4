#include "peerprocess.h"

#include "scriptedpeer.h"

#include <QtNetwork>
#include <QtTest>

#include <csignal>
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
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port);
    socket.write(request);
    QByteArray all;
    while (all.count(mark) < marks && socket.waitForReadyRead(20'000))
        all += socket.readAll();
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

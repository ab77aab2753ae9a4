#include "peerprocess.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QStandardPaths>
#include <QThread>

#include <csignal>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

static sockaddr_in Loopback(quint16 port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

QString PeerProcess::Find(const QString &program)
{
    return QStandardPaths::findExecutable(program);
}

quint16 PeerProcess::FreePort()
{
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = Loopback(0);
    socklen_t size = sizeof address;
    quint16 port = 0;
    if (bind(descriptor, reinterpret_cast<sockaddr *>(&address), size) == 0
        && getsockname(descriptor, reinterpret_cast<sockaddr *>(&address), &size) == 0)
        port = ntohs(address.sin_port);
    close(descriptor);
    return port;
}

// Reads the kernel's table of listening sockets: a connection to try it would be a client already.
bool PeerProcess::AwaitListener(quint16 port)
{
    const QByteArray wanted = QByteArray(":")
        + QByteArray::number(port, 16).toUpper().rightJustified(4, '0') + " 00000000:0000 0A";
    const QDeadlineTimer limit(10'000);
    while (!limit.hasExpired()) {
        QFile table("/proc/net/tcp");
        if (table.open(QIODevice::ReadOnly) && table.readAll().contains(wanted))
            return true;
        QThread::msleep(5); // between two looks; nothing depends on how long
    }
    return false;
}

bool PeerProcess::Start(const QString &program, const QStringList &arguments)
{
    Kill();
    m_process = std::make_unique<QProcess>();
    m_process->setStandardOutputFile(QProcess::nullDevice()); // nobody would empty a pipe
    m_process->setStandardErrorFile(QProcess::nullDevice());
    m_process->setChildProcessModifier([] {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        setsid();
    });
    m_process->start(program, arguments);
    return m_process->waitForStarted(10'000);
}

void PeerProcess::Kill()
{
    if (!Runs())
        return;
    m_process->kill();
    m_process->waitForFinished(10'000);
}

void PeerProcess::Freeze()
{
    if (Runs())
        ::kill(pid_t(Id()), SIGSTOP);
}

void PeerProcess::Thaw()
{
    if (Runs())
        ::kill(pid_t(Id()), SIGCONT);
}

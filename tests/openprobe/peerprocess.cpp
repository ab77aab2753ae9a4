#include "peerprocess.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QFile>
#include <QStandardPaths>
#include <QThread>

#include <csignal>
#include <fcntl.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

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

// Not QProcess: the thread sanitizer takes the fork that it needs for the end with the parent for
// one that must not start threads.
bool PeerProcess::Start(const QString &program, const QStringList &arguments)
{
    Kill();
    QList<QByteArray> texts = {"setpriv", "--pdeathsig", "KILL", program.toLocal8Bit()};
    for (const QString &argument : arguments)
        texts << argument.toLocal8Bit();
    std::vector<char *> argv;
    for (QByteArray &text : texts)
        argv.push_back(text.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    for (int descriptor = 0; descriptor < 3; ++descriptor) // nobody would empty a pipe
        posix_spawn_file_actions_addopen(&files, descriptor, "/dev/null", O_RDWR, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    m_runs = posix_spawnp(&m_id, argv[0], &files, &attributes, argv.data(), environ) == 0;
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    return m_runs;
}

bool PeerProcess::Runs()
{
    m_runs = m_runs && waitpid(m_id, nullptr, WNOHANG) == 0;
    return m_runs;
}

void PeerProcess::Kill()
{
    if (!Runs())
        return;
    ::kill(m_id, SIGKILL);
    waitpid(m_id, nullptr, 0);
    m_runs = false;
}

void PeerProcess::Freeze()
{
    if (Runs())
        ::kill(m_id, SIGSTOP);
}

void PeerProcess::Thaw()
{
    if (Runs())
        ::kill(m_id, SIGCONT);
}

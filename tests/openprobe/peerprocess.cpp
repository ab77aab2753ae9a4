#include "peerprocess.h"

#include "loopback.h"

#include <QFile>
#include <QStandardPaths>
#include <QtTest>

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

QString PeerProcess::Missing(const QString &program)
{
    const bool found = !QStandardPaths::findExecutable(program).isEmpty();
    return found ? QString() : program + " is not installed";
}

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
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = Loopback(port);
    const timeval limit{20, 0};
    setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    QByteArray all;
    ssize_t moved
        = connect(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address);
    if (moved == 0)
        moved = send(descriptor, request.constData(), size_t(request.size()), MSG_NOSIGNAL);
    char block[4096];
    while (moved > 0 && all.count(mark) < marks) {
        moved = recv(descriptor, block, sizeof block, 0);
        all.append(block, std::max<ssize_t>(moved, 0));
    }
    close(descriptor);
    return all;
}

// Not QProcess: the thread sanitizer takes the fork that it needs for the end with the parent for
// one that must not start threads.
bool PeerProcess::Start(const QStringList &command)
{
    Kill();
    QList<QByteArray> texts = {"setpriv", "--pdeathsig", "KILL"};
    for (const QString &text : command)
        texts << text.toLocal8Bit();
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

void PeerProcess::Signal(int number)
{
    if (Runs())
        ::kill(m_id, number);
}

void PeerProcess::Kill()
{
    Signal(SIGKILL);
    if (m_runs)
        waitpid(m_id, nullptr, 0);
    m_runs = false;
}

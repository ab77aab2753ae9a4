#include "qemutarget.h"

#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

QString QemuTarget::Missing()
{
    return PeerProcess::Find("qemu-system-arm").isEmpty() ? "qemu-system-arm is not installed"
                                                          : QString();
}

bool QemuTarget::Start(bool halted)
{
    m_process.Kill();
    if (m_port == 0)
        m_port = PeerProcess::FreePort();
    QStringList arguments = {"-M", "netduinoplus2", "-kernel", DEMO_FIRMWARE, "-nographic",
        "-serial", "null", "-monitor", "none", "-gdb", QString("tcp:127.0.0.1:%1").arg(m_port),
        "-qmp", "unix:" + m_directory.filePath("qmp") + ",server=on,wait=off"};
    if (halted)
        arguments << "-S";
    return m_process.Start("qemu-system-arm", arguments) && PeerProcess::AwaitListener(m_port);
}

// One line of JSON for each command, after a greeting; events may come in between.
QByteArray QemuTarget::Query(const QByteArray &command)
{
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, qPrintable(m_directory.filePath("qmp")), sizeof address.sun_path);
    QByteArray all;
    if (connect(descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0) {
        const timeval limit{10, 0};
        setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        const QByteArray text
            = "{\"execute\":\"qmp_capabilities\"}\n{\"execute\":\"" + command + "\"}\n";
        if (write(descriptor, text.constData(), size_t(text.size())) == text.size()) {
            char block[4096];
            while (all.count("\"return\"") < 2) {
                const ssize_t got = read(descriptor, block, sizeof block);
                if (got <= 0)
                    break;
                all.append(block, got);
            }
        }
    }
    close(descriptor);
    return all;
}

QByteArray QemuTarget::RunState()
{
    for (const QByteArray &line : Query("query-status").split('\n')) {
        const QJsonObject reply = QJsonDocument::fromJson(line).object();
        const QString status = reply.value("return").toObject().value("status").toString();
        if (!status.isEmpty())
            return status.toUtf8();
    }
    return "unknown";
}

bool QemuTarget::Monitor(const QByteArray &command)
{
    return Query(command).count("\"return\"") == 2;
}

#include "processtarget.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QThread>

ProbeRig::Layout ProcessTarget::Map()
{
    ProbeRig::Layout layout;
    layout.quiet = 0x20009000;
    layout.holeBehind = 0x20030000 - 64;
    layout.holeInFront = 0x38000000 - 64;
    layout.unmapped = 0x30000000;
    layout.counter = 0x20000020;
    layout.big = 0x20010000;
    return layout;
}

quint32 ProcessTarget::Counter() const
{
    QFile memory(QString("/proc/%1/mem").arg(Id()));
    quint32 value = 0;
    if (memory.open(QIODevice::ReadOnly | QIODevice::Unbuffered) && memory.seek(0x20000020))
        memory.read(reinterpret_cast<char *>(&value), sizeof value);
    return value;
}

bool ProcessTarget::Start(const QString &copy)
{
    if (!copy.isEmpty())
        QFile::copy(PROBE_TARGET, copy); // with its permissions; one that is there stays
    if (!m_process.Start(copy.isEmpty() ? PROBE_TARGET : copy, {}))
        return false;
    const QDeadlineTimer limit(10'000);
    while (Counter() == 0 && !limit.hasExpired())
        QThread::msleep(1); // between two looks; nothing depends on how long
    return Counter() != 0;
}

bool ProcessTarget::Runs() const
{
    const quint32 before = Counter();
    const QDeadlineTimer limit(1'000);
    while (Counter() == before && !limit.hasExpired())
        QThread::msleep(1); // between two looks
    return Counter() != before;
}

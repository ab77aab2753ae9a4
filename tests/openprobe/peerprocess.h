#pragma once

#include <QStringList>

#include <sys/types.h>

/// A program that the tests start and that is gone with them: it is killed when this object goes
/// and when the test program dies. It can be frozen and thawed.
class PeerProcess {
public:
    ~PeerProcess() { Kill(); }

    /// Where a program is; empty when it is not installed.
    static QString Find(const QString &program);
    /// A TCP port of 127.0.0.1 that nobody uses at this moment.
    static quint16 FreePort();
    /// Whether somebody accepts connections there, tried until that holds or ten seconds are over.
    static bool AwaitListener(quint16 port);

    bool Start(const QString &program, const QStringList &arguments);
    void Kill();
    void Freeze();
    void Thaw();
    qint64 Id() const { return m_id; }
    /// Whether it has not ended yet. Its number is free again once this was false.
    bool Runs();

private:
    pid_t m_id = 0;
    bool m_runs = false;
};

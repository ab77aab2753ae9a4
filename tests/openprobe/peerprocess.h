#pragma once

#include <QProcess>
#include <QStringList>
#include <memory>

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
    qint64 Id() const { return m_process ? m_process->processId() : 0; }
    bool Runs() const { return m_process && m_process->state() == QProcess::Running; }

private:
    std::unique_ptr<QProcess> m_process;
};

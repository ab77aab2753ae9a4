#pragma once

#include <QProcess>

/// A program that the tests start and that is gone with them: it is killed when this object goes
/// and when the test program dies.
class PeerProcess {
public:
    ~PeerProcess() { Kill(); }

    /// A TCP port of 127.0.0.1 that nobody uses at this moment.
    static quint16 FreePort();
    /// Whether somebody accepts connections there, tried until that holds.
    static bool AwaitListener(quint16 port);
    /// What a server of 127.0.0.1 answers, up to the given number of marks; less when it stops.
    static QByteArray Converse(
        quint16 port, const QByteArray &request, const QByteArray &mark, int marks);

    bool Start(const QStringList &command);
    void Kill();
    void Signal(int number) const;
    qint64 Id() const { return m_process.processId(); }

private:
    QProcess m_process;
};

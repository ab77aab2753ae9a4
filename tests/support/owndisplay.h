#pragma once

#include <QByteArray>
#include <QProcess>

/// An Xvfb of the test's own, ended with it.
class OwnDisplay {
public:
    OwnDisplay()
    {
        m_server.start(
            "Xvfb", {"-displayfd", "1", "-screen", "0", "1280x800x24", "-nolisten", "tcp"});
        QByteArray number;
        while (!number.endsWith('\n') && m_server.waitForReadyRead(20'000))
            number += m_server.readAllStandardOutput();
        if (!number.isEmpty())
            m_name = ':' + number.trimmed();
    }
    ~OwnDisplay()
    {
        m_server.terminate();
        m_server.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(OwnDisplay)

    /// For DISPLAY; empty when there is no Xvfb here.
    [[nodiscard]] const QByteArray &Name() const { return m_name; }

private:
    QProcess m_server;
    QByteArray m_name;
};

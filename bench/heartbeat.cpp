// Preloaded into a program: prints at its end the longest time that the event loop ran nothing
// while a main window was shown, without the time that the thread was ready but got no processor.
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace {

qint64 WaitedForProcessorNs()
{
    QFile file(QStringLiteral("/proc/thread-self/schedstat"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(1).toLongLong() : 0;
}

bool IsWindowShown()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    return std::any_of(windows.begin(), windows.end(), [](const QWidget *window) {
        return window->inherits("MainWindow") && window->isVisible();
    });
}

class Heartbeat : public QTimer {
public:
    explicit Heartbeat(QObject *parent)
        : QTimer(parent)
    {
        setTimerType(Qt::PreciseTimer);
        callOnTimeout(this, [this] { Beat(); });
        m_silence.start();
        start(1);
    }
    ~Heartbeat() override { std::printf("longest silence %.1f ms\n", double(m_longestNs) / 1e6); }

private:
    void Beat()
    {
        const qint64 waitedNs = WaitedForProcessorNs();
        const qint64 silentNs = m_silence.nsecsElapsed() - (waitedNs - m_waitedNs);
        // Hidden before and after: what the end of a window takes is nobody's silence.
        if (std::exchange(m_wasShown, IsWindowShown()) && m_wasShown)
            m_longestNs = std::max(m_longestNs, silentNs);
        m_waitedNs = waitedNs;
        m_silence.restart();
    }

    QElapsedTimer m_silence;
    qint64 m_waitedNs = WaitedForProcessorNs();
    qint64 m_longestNs = 0;
    bool m_wasShown = false;
};

void Install()
{
    new Heartbeat(QCoreApplication::instance());
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(Install)

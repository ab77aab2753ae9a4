// Preloaded into the program: connects as its settings say, refreshes ten times a second, takes the
// target's peer away, closes the window, and prints the longest time that the event loop ran
// nothing in each of these phases.
//
//   STANDSTILL_PEER    number of the process that answers the library
//   STANDSTILL_SIGNAL  what it gets: STOP freezes it, KILL unplugs it
#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QMessageBox>
#include <QPointer>
#include <QTimer>

#include <chrono>
#include <csignal>
#include <cstdio>

namespace {

using Clock = std::chrono::steady_clock;

double MillisecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

QWidget *FindWidget(const char *className)
{
    for (QWidget *widget : QApplication::allWidgets()) {
        if (widget->inherits(className) && widget->isVisible())
            return widget;
    }
    return nullptr;
}

class Standstill : public QObject {
public:
    explicit Standstill(QObject *parent)
        : QObject(parent)
    {
        m_heartbeat.setTimerType(Qt::PreciseTimer);
        connect(&m_heartbeat, &QTimer::timeout, this, [this] { Beat(); });
        m_heartbeat.start(1);
    }

    ~Standstill() override
    {
        // From the close to here; the worker's end is waited for in between.
        std::printf("closing %.1f\n", MillisecondsSince(m_phaseStart));
    }

private:
    enum Phase { Connecting, Warming, Refreshing, Without, Closing };
    static constexpr double kMilliseconds[] = {20'000, 1500, 3000, 5000, 0};

    void Beat()
    {
        m_longest = std::max(m_longest, MillisecondsSince(m_lastBeat));
        m_lastBeat = Clock::now();
        CloseDialogs();
        if (m_phase == Connecting && StartRefresh())
            Enter(Warming);
        else if (m_phase != Closing && MillisecondsSince(m_phaseStart) >= kMilliseconds[m_phase])
            EndPhase();
    }

    void CloseDialogs()
    {
        QWidget *const modal = QApplication::activeModalWidget();
        if (modal != nullptr && modal->inherits("ConfigDialog")) {
            QMetaObject::invokeMethod(modal, "_OnPBtnOK");
        } else if (auto *const box = qobject_cast<QMessageBox *>(modal)) {
            std::printf("box %s\n", qPrintable(box->text().simplified()));
            box->accept();
        }
    }

    // The box takes a choice only while it is shown, for which the window has to be wide enough.
    static bool StartRefresh()
    {
        const QWidget *const memory = FindWidget("CHexEditor");
        if (memory == nullptr)
            return false;
        memory->window()->resize(1200, 700);
        auto *const box = memory->findChild<QComboBox *>(QStringLiteral("pRefreshBox"));
        if (box == nullptr || !box->isVisible())
            return false;
        box->setCurrentIndex(0); // the shortest interval
        return true;
    }

    void EndPhase()
    {
        switch (m_phase) {
        case Connecting:
            std::printf("not connected\n");
            std::_Exit(1);
        case Warming:
            Enter(Refreshing);
            break;
        case Refreshing:
            std::printf("refreshing %.1f\n", m_longest);
            Enter(Without);
            kill(qEnvironmentVariableIntValue("STANDSTILL_PEER"),
                qgetenv("STANDSTILL_SIGNAL") == "KILL" ? SIGKILL : SIGSTOP);
            break;
        case Without:
            std::printf("without %.1f\n", m_longest);
            Enter(Closing);
            if (QWidget *const window = FindWidget("MainWindow"))
                window->close();
            break;
        case Closing:
            break;
        }
    }

    void Enter(Phase phase)
    {
        m_phase = phase;
        m_phaseStart = m_lastBeat = Clock::now();
        m_longest = 0;
    }

    QTimer m_heartbeat;
    Phase m_phase = Connecting;
    Clock::time_point m_phaseStart = Clock::now();
    Clock::time_point m_lastBeat = Clock::now();
    double m_longest = 0;
};

void Install()
{
    new Standstill(QCoreApplication::instance());
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(Install)

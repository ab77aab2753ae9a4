// How long the event loop stands still while the memory window works over a slow target with holes:
// every call takes 1 ms, one byte in a hundred cannot be read. Prints one line a case:
//
//   CASE LONGEST-SILENCE-MS CALLS
#include "chexeditor.h"
#include "cmemdialog.h"

#include <QAction>
#include <QApplication>
#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <thread>

namespace {

constexpr std::uint64_t kHoleEvery = 100;
constexpr std::uint64_t kBase = 0x2000'0000;
constexpr std::uint64_t kRangeBytes = 16 * 1024;

long s_calls = 0;

int ReadMemory(std::uint64_t address, std::uint64_t length, std::uint8_t, const char *,
    std::uint8_t *data, std::uint8_t *status)
{
    ++s_calls;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const bool fails = (address + length) / kHoleEvery != address / kHoleEvery;
    std::memset(data, int(s_calls), length);
    std::memset(status, fails ? 1 : 0, length);
    return fails ? -1 : int(length);
}

/// The longest time between two turns of the event loop while something runs.
class Heartbeat {
public:
    Heartbeat()
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { Beat(); });
        m_timer.start(0);
        m_clock.start();
    }
    void Beat() { m_longestNs = std::max(m_longestNs, Restart()); }
    double LongestMs() const { return double(m_longestNs) / 1e6; }

private:
    qint64 Restart()
    {
        const qint64 elapsed = m_clock.nsecsElapsed();
        m_clock.start();
        return elapsed;
    }

    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_longestNs = 0;
};

void Measure(const char *name, const std::function<void()> &run)
{
    s_calls = 0;
    Heartbeat heart;
    run();
    heart.Beat();
    std::printf("%s %.1f %ld\n", name, heart.LongestMs(), s_calls);
}

void RunEventsFor(int ms)
{
    QElapsedTimer clock;
    clock.start();
    while (!clock.hasExpired(ms))
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void Press(const CHexEditor &window, Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QKeyEvent press(QEvent::KeyPress, key, modifiers);
    QApplication::sendEvent(window.focusProxy(), &press);
}

/// From kBase on, as a user selects it: page by page.
void SelectRange(CHexEditor &window)
{
    window.GoTo(kBase, true, false);
    Press(window, Qt::Key_Shift, Qt::ShiftModifier);
    for (std::uint64_t at = 0; at < kRangeBytes; at += window.BytesPerPage())
        Press(window, Qt::Key_PageDown, Qt::ShiftModifier);
}

void Save(CHexEditor &window, const QString &fileName)
{
    QTimer::singleShot(0, &window, [fileName] {
        auto *dialog = qobject_cast<CMemDialog *>(QApplication::activeModalWidget());
        dialog->SetStartAddress(kBase);
        dialog->SetSize(kRangeBytes);
        dialog->SetFileName(fileName);
        dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
    });
    window.findChild<QAction *>("pActionMemorySave")->trigger();
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    CHexEditor window;
    window.SetCallbacks({.ReadMemory = ReadMemory});
    window.SetFeatureFlags(kFeatureRefresh);
    window.resize(1000, 800);
    window.show();
    RunEventsFor(500);

    const QTemporaryDir folder;
    SelectRange(window);
    Measure("save", [&] { Save(window, folder.filePath("data.bin")); });
    for (const char *form : {"CopyHex", "CopyIntList"})
        Measure(form, [&] {
            window.findChild<QAction *>(QLatin1String("pActionMemory") + QLatin1String(form))
                ->trigger();
        });
    Measure("refresh", [&] {
        window.SetRefreshInterval(100);
        RunEventsFor(5000);
    });
    return 0;
}

#include "windowlife.h"

#include "appharness.h"

#include "mainwindow.h"
#include "probesession.h"

#include "cdeviceselectiondialog.h"
#include "chexeditor.h"
#include "cmemdialog.h"
#include "targetdevice.h"

#include <QAction>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <utility>

namespace {

constexpr std::uint32_t kEditedAddress
    = 0x2000'1000; // RAM that the simulated firmware leaves alone
constexpr std::uint64_t kSavedBytes = 100;
constexpr int kAnswerLimitMs = 100;

/// How long this thread has been ready to run without a processor: the machine's fault, not ours.
qint64 WaitedForProcessorNs()
{
    QFile file(QStringLiteral("/proc/thread-self/schedstat"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(1).toLongLong() : 0;
}

/// The longest time without an answer of the event loop, library calls on the GUI thread left out.
qint64 g_longestSilenceNs = 0;

/// The texts of the boxes that a fault shows at each attempt to connect. A text that ends in "..."
/// stands for all that begin so.
QStringList BoxesOfConnecting(const QString &function, Fault fault)
{
    const bool zero = fault == Fault::Missing;
    const bool failing = fault == Fault::Failing;
    const bool nonsense = fault == Fault::Nonsense;
    const bool open = function.endsWith(QStringLiteral("_Open"));
    if (failing && open)
        return {QStringLiteral("Could not connect to Ranvo:\nit failed")};
    if (nonsense && open) // as it stands: no part of it is a format
        return {QStringLiteral("Could not connect to Ranvo:\n%s%n%n%s ...")};
    if (failing && function.endsWith(QStringLiteral("SelectByUSBSN")))
        return {QStringLiteral("No emulator with given S/N connected!")};
    if ((zero && (open || function.endsWith(QStringLiteral("_IsConnected"))))
        || ((zero || failing || nonsense) && function.endsWith(QStringLiteral("_Connect"))))
        return {QStringLiteral("Could not connect to target for unknown reason")};
    return {};
}

bool IsLike(const QStringList &texts, const QStringList &patterns)
{
    return std::equal(texts.begin(), texts.end(), patterns.begin(), patterns.end(),
        [](const QString &text, const QString &pattern) {
            return pattern.endsWith(QStringLiteral("...")) ? text.startsWith(pattern.chopped(3))
                                                           : text == pattern;
        });
}

/// Handles events until the condition holds. @return whether it came to hold
template <typename Condition> bool Soon(Condition condition)
{
    QElapsedTimer timer;
    for (timer.start(); !condition(); QCoreApplication::processEvents(QEventLoop::AllEvents, 1)) {
        if (timer.hasExpired(kPatienceMs))
            return false;
    }
    return true;
}

/// Whatever the worker is caught in, the window's event loop goes round.
/// @return whether it did, in time where that is asked
bool WindowAnswers(WindowLife::Answers kind)
{
    int answers = 0;
    qint64 longestNs = 0;
    QElapsedTimer silence;
    QTimer heart;
    (void)FAULT_TakeGuiHeldNs();
    qint64 waitedNs = WaitedForProcessorNs();
    QObject::connect(&heart, &QTimer::timeout, &heart, [&] {
        ++answers;
        const qint64 waitedNowNs = WaitedForProcessorNs();
        longestNs = std::max(longestNs,
            silence.nsecsElapsed() - FAULT_TakeGuiHeldNs()
                - (waitedNowNs - std::exchange(waitedNs, waitedNowNs)));
        silence.restart();
    });
    silence.start();
    heart.start(1);
    const bool answered = Soon([&answers] { return answers > 3; });
    g_longestSilenceNs = std::max(g_longestSilenceNs, longestNs);
    return answered
        && (kind == WindowLife::Answers::AtAll || longestNs < kAnswerLimitMs * 1'000'000LL);
}

/// Fills in the next dialog of a kind and accepts it.
template <typename Dialog, typename Fill> class DialogAnswer {
public:
    explicit DialogAnswer(Fill fill)
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [fill] {
            if (auto *const dialog = qobject_cast<Dialog *>(QApplication::activeModalWidget())) {
                fill(*dialog);
                dialog->accept();
            }
        });
        m_timer.start(1);
    }

private:
    QTimer m_timer;
};

} // namespace

WindowLife::WindowLife(AppHarness &app, int function, Fault fault, Step begins, Answers answers)
    : m_app(app)
    , m_index(function)
    , m_function(QString::fromLatin1(FAULT_FunctionName(function)))
    , m_fault(fault)
    , m_begins(begins)
    , m_answers(answers)
{
    FAULT_KeepHangingCalls(true);
}

qint64 WindowLife::LongestSilenceNs()
{
    return g_longestSilenceNs;
}

QString WindowLife::Run(Step step)
{
    if (step == m_begins)
        FAULT_Set(m_app.Hooks(), m_index, m_fault);
    switch (step) {
    case Step::Connecting:
        return Connect();
    case Step::Refreshing:
        return Refresh();
    case Step::Editing:
        return Edit();
    case Step::Saving:
        return Save();
    case Step::Disconnecting:
        return Reconnect();
    default:
        return Close();
    }
}

bool WindowLife::Is(const char *function) const
{
    return m_function.endsWith(QLatin1String(function));
}

bool WindowLife::Hangs() const
{
    return m_fault == Fault::NeverReturning;
}

bool WindowLife::IsSlow() const
{
    return m_fault == Fault::Slow || m_fault == Fault::VerySlow;
}

QString WindowLife::Settle(const QStringList &boxes)
{
    // Every change of the status bar asks for the state of the connection.
    emit m_app.Action(QStringLiteral("&About..."))->hovered();
    if (!WindowAnswers(m_answers))
        return QStringLiteral("the window is silent");
    if (!Soon([&] { return m_app.BoxTexts().size() >= boxes.size(); }) || !WindowAnswers(m_answers)
        || !IsLike(m_app.BoxTexts(), boxes))
        return QStringLiteral("boxes: ") + m_app.BoxTexts().join(QLatin1Char('|'));
    m_app.TakeBoxTexts();
    return {};
}

QStringList WindowLife::BoxesWhileConnected(Step step) const
{
    return step == m_begins && Is("_IsConnected") && m_fault == Fault::Missing
        ? QStringList{QStringLiteral("Target disconnected.")}
        : QStringList();
}

QString WindowLife::Connect()
{
    if (m_begins == Step::Connecting && Is("GetHardwareVersion"))
        (void)PROBE_HardwareVersion();
    m_app.Start();
    return AwaitConnection(m_begins == Step::Connecting);
}

QString WindowLife::AwaitConnection(bool isFaulty)
{
    const QStringList boxes = isFaulty ? BoxesOfConnecting(m_function, m_fault) : QStringList();
    if (isFaulty && Hangs())
        return Settle(boxes); // connected or not
    // A wrong serial number alone still connects: the default probe is used.
    const bool connects
        = boxes.isEmpty() || boxes.first().startsWith(QStringLiteral("No emulator"));
    if (!Soon([&] { return (m_app.MemoryWindow() != nullptr) == connects; }))
        return QStringLiteral("connected: the wrong way round");
    const QString trouble = Settle(boxes);
    if (!trouble.isEmpty() || !connects)
        return trouble;
    return Soon([&] { return m_app.Action(QStringLiteral("&Disconnect"))->isEnabled(); })
        ? QString()
        : QStringLiteral("Disconnect is not offered");
}

QString WindowLife::Refresh()
{
    if (m_begins <= Step::Refreshing && Is("DEVICE_GetInfo")) {
        const DialogAnswer<CDeviceSelectionDialog, void (*)(CDeviceSelectionDialog &)> answer(
            [](CDeviceSelectionDialog &) {});
        (void)ChooseTargetDevice({});
    }
    if (CHexEditor *const memory = m_app.MemoryWindow()) {
        memory->OnAutoUpdateTimerTimeout();
        memory->ScrollRows(-3);
    }
    return Settle(BoxesWhileConnected(Step::Refreshing));
}

std::uint8_t WindowLife::TargetByte(std::uint32_t address)
{
    std::uint8_t byte = 0;
    reinterpret_cast<decltype(&RANVOARM_ReadMemEx)>(FAULT_RealFunction("RANVOARM_ReadMemEx"))(
        address, 1, &byte, 1);
    return byte;
}

QString WindowLife::Edit()
{
    CHexEditor *const memory = m_app.MemoryWindow();
    const auto typed = static_cast<std::uint8_t>(TargetByte(kEditedAddress) + 0x11);
    if (memory != nullptr)
        m_app.TypeOver(kEditedAddress, typed);
    const bool mustArrive = memory != nullptr && IsReachable()
        && ((!Is("WriteMemEx") && !Is("ReadMemEx")) || IsSlow() || m_begins > Step::Editing);
    if (mustArrive && TargetByte(kEditedAddress) != typed)
        return QStringLiteral("what was typed is lost");
    return Settle(BoxesWhileConnected(Step::Editing));
}

bool WindowLife::IsReachable() const
{
    return BoxesOfConnecting(m_function, m_fault).isEmpty() && !Hangs();
}

QString WindowLife::Save()
{
    CHexEditor *const memory = m_app.MemoryWindow();
    const QString fileName = QDir::homePath() + QStringLiteral("/saved.bin");
    QFile::remove(fileName);
    if (memory != nullptr) {
        const auto fill = [&](CMemDialog &dialog) {
            dialog.SetFileName(fileName);
            dialog.SetStartAddress(kEditedAddress);
            dialog.SetSize(kSavedBytes);
        };
        const DialogAnswer<CMemDialog, decltype(fill)> answer(fill);
        memory->OnActionSaveTriggered();
    }
    const bool reads = !Is("ReadMemEx") || IsSlow() || m_begins > Step::Saving;
    QFile file(fileName);
    const bool isSaved = file.open(QIODevice::ReadOnly);
    const QByteArray bytes = isSaved ? file.readAll() : QByteArray();
    if (memory != nullptr && IsReachable() && reads
        && (static_cast<std::uint64_t>(bytes.size()) != kSavedBytes
            || static_cast<std::uint8_t>(bytes.front()) != TargetByte(kEditedAddress)))
        return QStringLiteral("saved something else");
    if (!reads && isSaved && m_fault != Fault::Nonsense)
        return QStringLiteral("a file of nothing");
    return Settle(BoxesWhileConnected(Step::Saving));
}

QString WindowLife::Reconnect()
{
    const bool isFaulty = m_begins <= Step::Disconnecting;
    QAction *const disconnect = m_app.Action(QStringLiteral("&Disconnect"));
    // The call may hang before the worker comes to say that there is a connection.
    if (isFaulty && Hangs() && !disconnect->isEnabled())
        return Settle({});
    disconnect->trigger();
    if (m_app.MemoryWindow() != nullptr)
        return QStringLiteral("the memory window stays");
    if (!(isFaulty && Hangs())
        && !Soon([&] { return m_app.Action(QStringLiteral("&Connect"))->isEnabled(); }))
        return QStringLiteral("Connect is not offered");
    m_app.Action(QStringLiteral("&Connect"))->trigger();
    return AwaitConnection(isFaulty);
}

QString WindowLife::Close()
{
    if (m_endsBySignal) {
        (void)raise(SIGTERM);
        (void)Soon([this] { return !m_app.Window().isVisible(); });
    } else {
        m_app.Window().close();
    }
    if (m_app.Window().isVisible())
        return QStringLiteral("the window stays");
    return m_app.BoxTexts().isEmpty() ? QString() : QStringLiteral("a box at the end");
}

#include "paintrecorder.h"
#include "randomseed.h"
#include "shownwindow.h"

#include <QProcess>
#include <QScreen>
#include <QWindow>

/// Properties of the painted window over random use. The whole program runs once for each scale
/// factor, which Qt takes at the start only.
class ViewPaintingTest : public QObject {
    Q_OBJECT

private slots:
    void partialPaintsEqualAFullPaint();
    void everyDrawnByteAgreesWithTheTarget();
};

namespace {

/// What the window really has on the screen.
QImage Screen(ShownWindow &s)
{
    QApplication::processEvents();
    QWindow *window = s.window.windowHandle();
    return window->screen()->grabWindow(s.window.winId()).toImage();
}

void ChangeSomeBytes(ShownWindow &s, std::mt19937_64 &generator)
{
    for (int count = Pick(generator, 0, 30); count > 0; --count) {
        const std::uint64_t address
            = s.window.BaseAddress() + Pick(generator, std::uint64_t{0}, s.window.BytesPerPage());
        s.target.Set(address, std::uint8_t(Pick(generator, 0, 255)));
        if (Pick(generator, 0, 20) == 0)
            s.target.unreadable.insert(address);
    }
    if (Pick(generator, 0, 9) == 0)
        s.target.unreadable.clear();
}

void Drag(ShownWindow &s, std::mt19937_64 &generator)
{
    const auto anywhere = [&] {
        return QPoint(
            Pick(generator, 0, s.view->width()), Pick(generator, 0, s.view->height() - 1));
    };
    s.Mouse(QEvent::MouseButtonPress, anywhere());
    s.Mouse(QEvent::MouseMove, anywhere());
    s.Mouse(QEvent::MouseMove, anywhere());
    s.Mouse(QEvent::MouseButtonRelease, anywhere());
}

/// One random thing that a user or the target does.
void DoSomething(ShownWindow &s, std::mt19937_64 &generator)
{
    constexpr Qt::Key keys[] = {Qt::Key_Up, Qt::Key_Down, Qt::Key_Left, Qt::Key_Right, Qt::Key_Home,
        Qt::Key_End, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Escape};
    switch (Pick(generator, 0, 9)) {
    case 0:
    case 1:
        ChangeSomeBytes(s, generator);
        return s.window.OnAutoUpdateTimerTimeout();
    case 2:
    case 3:
        return s.window.ScrollRows(Pick(generator, -12, 12));
    case 4:
    case 5:
        return s.Key(keys[Pick(generator, 0, 8)],
            Pick(generator, 0, 2) == 0 ? Qt::ShiftModifier : Qt::NoModifier);
    case 6:
        return Drag(s, generator);
    case 7:
        return s.view->viewport()->update(Pick(generator, 0, 600), Pick(generator, 0, 400),
            Pick(generator, 1, 80), Pick(generator, 1, 60));
    case 8:
        if (Pick(generator, 0, 3) == 0)
            return s.window.GoTo(Pick(generator, std::uint64_t{0}, kLastAddress), true, false);
        return s.Wheel(Pick(generator, -3, 3) * 120);
    default:
        if (Pick(generator, 0, 3) == 0)
            return s.window.resize(Pick(generator, 400, 1200), Pick(generator, 200, 500));
        return s.window.SetBytesPerItem(1 << Pick(generator, 0, 2));
    }
}

} // namespace

void ViewPaintingTest::partialPaintsEqualAFullPaint()
{
    auto generator = SeededGenerator();
    ShownWindow s;
    s.GoTo(0x2000'0000);
    for (int step = 0; step < 250; ++step) {
        DoSomething(s, generator);
        if (Pick(generator, 0, 2) == 0) // several things before a paint as well
            continue;
        const QImage partial = Screen(s);
        s.view->viewport()->update();
        const QImage full = Screen(s);
        QVERIFY(!partial.isNull());
        if (partial != full) {
            partial.save(QStringLiteral("partial.png"));
            full.save(QStringLiteral("full.png"));
        }
        QVERIFY2(partial == full, qPrintable(QStringLiteral("step %1").arg(step)));
    }
}

void ViewPaintingTest::everyDrawnByteAgreesWithTheTarget()
{
    auto generator = SeededGenerator();
    for (int round = 0; round < 25; ++round) {
        ShownWindow s;
        const int bytesPerItem = 1 << Pick(generator, 0, 2);
        const bool bigEndian = Pick(generator, 0, 1) == 1;
        s.window.SetBytesPerItem(bytesPerItem);
        s.window.SetBigEndian(bigEndian);
        s.window.resize(Pick(generator, 300, 1500), Pick(generator, 150, 600));
        const std::uint64_t edges[] = {0, 0x7FFF'FF00, kAddressSpaceEnd - 0x300, 0x2000'0000};
        const std::uint64_t base = edges[Pick(generator, 0, 3)];
        for (int faults = Pick(generator, 0, 40); faults > 0; --faults)
            s.target.unreadable.insert(
                base + Pick(generator, std::uint64_t{0}, std::uint64_t{0x500}));
        s.GoTo(base);
        for (int step = 0; step < 5; ++step)
            DoSomething(s, generator);
        s.window.SetBytesPerItem(bytesPerItem);
        s.window.UpdateFromTarget();

        for (const PaintRecorder::Text &text : PaintRecorder::Record(*s.view->viewport())) {
            if (text.text.size() < 20)
                continue; // a run or the cursor
            const std::uint64_t address = text.text.left(8).toULongLong(nullptr, 16);
            const QStringList items = text.text.mid(10).split(' ', Qt::SkipEmptyParts);
            for (std::uint32_t byte = 0; byte < s.window.BytesPerRow(); ++byte) {
                const QString item = items.at(int(byte) / bytesPerItem);
                const int inItem = int(byte) % bytesPerItem;
                const QString shown
                    = item.mid(2 * (bigEndian ? inItem : bytesPerItem - 1 - inItem), 2);
                if (shown == "--" || shown == "..")
                    continue;
                QVERIFY2(!s.target.unreadable.contains(address + byte), qPrintable(text.text));
                QCOMPARE(shown.toInt(nullptr, 16), int(s.target.ByteAt(address + byte)));
            }
        }
        // Nothing was read that was not to be shown.
        for (const FakeTarget::Call &call : s.target.reads)
            QVERIFY(call.address + call.length <= kAddressSpaceEnd);
    }
}

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsSet("QT_SCALE_FACTOR")) {
        QApplication application(argc, argv);
        ViewPaintingTest test;
        return QTest::qExec(&test, argc, argv);
    }
    const QString program = QString::fromLocal8Bit(argv[0]);
    qputenv("QT_SCALE_FACTOR", "1");
    bool failed = QProcess::execute(program) != 0;
    for (const char *scale : {"1.25", "1.5", "1.75", "2"}) { // what is drawn does not depend on it
        qputenv("QT_SCALE_FACTOR", scale);
        failed |= QProcess::execute(program, {QStringLiteral("partialPaintsEqualAFullPaint")}) != 0;
    }
    return failed ? 1 : 0;
}

#include "tst_viewpainting.moc"

#include "memtestwindow.h"
#include "randomseed.h"

#include <QProcess>
#include <QScreen>
#include <QWindow>

namespace {

/// What the window really has on the screen.
QImage Screen(MemTestWindow &s)
{
    QApplication::processEvents();
    QWindow *window = s.window.windowHandle();
    return window->screen()->grabWindow(s.window.winId()).toImage();
}

void ChangeSomeBytes(MemTestWindow &s, std::mt19937_64 &generator)
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

void Drag(MemTestWindow &s, std::mt19937_64 &generator)
{
    for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseMove, QEvent::MouseMove,
             QEvent::MouseButtonRelease})
        s.Mouse(
            type, {Pick(generator, 0, s.view->width()), Pick(generator, 0, s.view->height() - 1)});
}

/// One random thing that a user or the target does.
void DoSomething(MemTestWindow &s, std::mt19937_64 &generator)
{
    constexpr Qt::Key keys[] = {Qt::Key_Up, Qt::Key_Down, Qt::Key_Left, Qt::Key_Right, Qt::Key_Home,
        Qt::Key_End, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Escape};
    switch (Pick(generator, 0, 10)) {
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
    case 9: // the cursor looks different without the focus
        return Pick(generator, 0, 1) == 0 ? s.addressBox->setFocus() : s.view->setFocus();
    default:
        if (Pick(generator, 0, 3) == 0)
            return s.window.resize(Pick(generator, 400, 1200), Pick(generator, 200, 500));
        return s.window.SetBytesPerItem(1 << Pick(generator, 0, 2));
    }
}

} // namespace

/// Properties of the painted window over random use. The whole program runs once for each scale
/// factor, which Qt takes at the start only.
class ViewPaintingTest : public QObject {
    Q_OBJECT

private slots:
    void partialPaintsEqualAFullPaint_data()
    {
        QTest::addColumn<qreal>("points");
        QTest::addColumn<bool>("bold");
        QTest::addColumn<QColor>("base");
        QTest::newRow("usual") << 9.0 << false << QColor(Qt::white);
        QTest::newRow("small, dark") << 7.0 << false << QColor(0x1E1E1E);
        QTest::newRow("large and bold, dark") << 12.5 << true << QColor(0x1E1E1E);
    }

    void partialPaintsEqualAFullPaint()
    {
        QFETCH(qreal, points);
        QFETCH(bool, bold);
        QFETCH(QColor, base);
        QFont font = QApplication::font();
        font.setPointSizeF(points);
        font.setBold(bold);
        QApplication::setFont(font);
        QApplication::setPalette(QPalette(base, base));
        auto generator = SeededGenerator();
        MemTestWindow s;
        s.GoTo(0x2000'0000);
        for (int step = 0; step < 100; ++step) {
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

    void everyDrawnByteAgreesWithTheTarget()
    {
        auto generator = SeededGenerator();
        for (int round = 0; round < 25; ++round) {
            MemTestWindow s;
            const int bytesPerItem = 1 << Pick(generator, 0, 2);
            s.SetBigEndian(Pick(generator, 0, 1) == 1);
            s.window.resize(Pick(generator, 300, 1500), Pick(generator, 150, 600));
            const std::uint64_t edges[] = {0, 0x7FFF'FF00, kAddressSpaceEnd - 0x300, 0x2000'0000};
            const std::uint64_t base = edges[Pick(generator, 0, 3)];
            for (int faults = Pick(generator, 0, 40); faults > 0; --faults)
                s.target.unreadable.insert(base + unsigned(Pick(generator, 0, 0x500)));
            s.GoTo(base);
            for (int step = 0; step < 5; ++step)
                DoSomething(s, generator);
            s.window.SetBytesPerItem(bytesPerItem);
            s.window.UpdateFromTarget();
            for (const QString &row : s.Rows())
                CheckRow(s, row);
            for (const FakeTarget::Call &call : s.target.reads)
                QVERIFY(call.address + call.length <= kAddressSpaceEnd);
        }
    }

private:
    static void CheckRow(const MemTestWindow &s, const QString &row)
    {
        const std::uint64_t address = row.left(8).toULongLong(nullptr, 16);
        const QStringList items = row.mid(10).split(' ', Qt::SkipEmptyParts);
        const int bytesPerItem = s.window.BytesPerItem();
        for (int byte = 0; byte < int(s.window.BytesPerRow()); ++byte) {
            const int inItem = byte % bytesPerItem;
            const QString shown
                = items.at(byte / bytesPerItem)
                      .mid(2 * (s.bigEndian ? inItem : bytesPerItem - 1 - inItem), 2);
            if (shown == "--" || shown == "..")
                continue;
            QVERIFY2(!s.target.unreadable.contains(address + unsigned(byte)), qPrintable(row));
            QCOMPARE(shown.toInt(nullptr, 16), int(s.target.ByteAt(address + unsigned(byte))));
        }
    }
};

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsSet("QT_SCALE_FACTOR")) {
        QApplication application(argc, argv);
        QApplication::setCursorFlashTime(0); // the address box's would blink between two pictures
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

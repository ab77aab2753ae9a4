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
    return s.window.windowHandle()->screen()->grabWindow(s.window.winId()).toImage();
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

/// One random thing that a user or the target does.
void DoSomething(MemTestWindow &s, std::mt19937_64 &generator)
{
    constexpr Qt::Key keys[] = {Qt::Key_Up, Qt::Key_Down, Qt::Key_Left, Qt::Key_Right, Qt::Key_Home,
        Qt::Key_End, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Escape};
    const bool seldom = Pick(generator, 0, 3) == 0;
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
        return s.Key(keys[Pick(generator, 0, 8)], seldom ? Qt::ShiftModifier : Qt::NoModifier);
    case 6:
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseMove, QEvent::MouseMove,
                 QEvent::MouseButtonRelease})
            s.Mouse(type,
                {Pick(generator, 0, s.view->width()), Pick(generator, 0, s.view->height() - 1)});
        return;
    case 7:
        return s.view->viewport()->update(Pick(generator, 0, 600), Pick(generator, 0, 400),
            Pick(generator, 1, 80), Pick(generator, 1, 60));
    case 8:
        return seldom ? s.window.GoTo(Pick(generator, std::uint64_t{0}, kLastAddress), true, false)
                      : s.WheelOver(s.view->viewport(), Pick(generator, -3, 3) * 120);
    case 9: // the cursor looks different without the focus
        return seldom ? s.addressBox->setFocus() : s.view->setFocus();
    default:
        return seldom ? s.window.resize(Pick(generator, 400, 1200), Pick(generator, 200, 500))
                      : s.window.SetBytesPerItem(1 << Pick(generator, 0, 2));
    }
}

struct Look {
    const char *name;
    qreal points;
    bool bold;
    QRgb base;
};

} // namespace

/// Properties of the painted window over random use. The whole program runs once for each scale
/// factor, which Qt takes at the start only.
class ViewPaintingTest : public QObject {
    Q_OBJECT

private slots:
    void partialPaintsEqualAFullPaint_data()
    {
        AddRows<Look>({{"usual", 9, false, 0xFFFFFF}, {"small, dark", 7, false, 0x1E1E1E},
            {"large and bold, dark", 12.5, true, 0x1E1E1E}});
    }

    void partialPaintsEqualAFullPaint()
    {
        QFETCH(const Look, row);
        QFont font = QApplication::font();
        font.setPointSizeF(row.points);
        font.setBold(row.bold);
        QApplication::setFont(font);
        QApplication::setPalette(QPalette(QColor(row.base), QColor(row.base)));
        auto generator = SeededGenerator();
        MemTestWindow s;
        for (int step = 0; step < 100; ++step) {
            DoSomething(s, generator);
            if (Pick(generator, 0, 2) == 0) // several things before a paint as well
                continue;
            const QImage partial = Screen(s);
            s.view->viewport()->update();
            QVERIFY(!partial.isNull());
            QVERIFY2(partial == Screen(s), qPrintable(QStringLiteral("step %1").arg(step)));
        }
    }

    void everyDrawnByteAgreesWithTheTarget()
    {
        auto generator = SeededGenerator();
        for (int round = 0; round < 25; ++round) {
            MemTestWindow s;
            s.SetBigEndian(Pick(generator, 0, 1) == 1);
            s.window.resize(Pick(generator, 300, 1500), Pick(generator, 150, 600));
            const std::uint64_t edges[] = {0, 0x7FFF'FF00, kAddressSpaceEnd - 0x300, kBase};
            const std::uint64_t base = edges[Pick(generator, 0, 3)];
            for (int faults = Pick(generator, 0, 40); faults > 0; --faults)
                s.target.unreadable.insert(base + unsigned(Pick(generator, 0, 0x500)));
            s.GoTo(base);
            for (int step = 0; step < 5; ++step)
                DoSomething(s, generator);
            s.window.SetBytesPerItem(1 << Pick(generator, 0, 2));
            s.window.UpdateFromTarget();
            for (const QString &row : s.Rows())
                CheckRow(s, row);
            for (const FakeTarget::Call &call : s.target.reads)
                QVERIFY(call.address + call.length <= kAddressSpaceEnd);
        }
    }

private:
    /// Each byte is shown, but for unread ones and those of an item whose first one is unread.
    static void CheckRow(const MemTestWindow &s, const QString &text)
    {
        const std::uint64_t address = text.left(8).toULongLong(nullptr, 16);
        const QStringList items = text.mid(10).split(u' ', Qt::SkipEmptyParts);
        const unsigned itemBytes = unsigned(s.window.BytesPerItem());
        const std::uint64_t known = kAddressSpaceEnd - std::min(address, kAddressSpaceEnd);
        for (unsigned byte = 0; byte < std::min<std::uint64_t>(s.window.BytesPerRow(), known);
             ++byte) {
            const unsigned inItem = byte % itemBytes;
            const QString shown
                = items.at(byte / itemBytes)
                      .mid(2 * int(s.bigEndian ? inItem : itemBytes - 1 - inItem), 2);
            const bool isUnread = s.target.unreadable.contains(address + byte)
                || s.target.unreadable.contains(address + byte - inItem);
            QVERIFY2(isUnread == (shown == "--"), qPrintable(text));
            if (!isUnread)
                QCOMPARE(shown.toInt(nullptr, 16), int(s.target.ByteAt(address + byte)));
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
    bool failed = false;
    for (const char *scale : {"1", "1.25", "1.5", "1.75", "2"}) {
        qputenv("QT_SCALE_FACTOR", scale);
        QStringList tests{"partialPaintsEqualAFullPaint"};
        if (QByteArray(scale) == "1") // what is drawn does not depend on it
            tests << "everyDrawnByteAgreesWithTheTarget";
        failed |= QProcess::execute(QString::fromLocal8Bit(argv[0]), tests) != 0;
    }
    return failed ? 1 : 0;
}

#include "tst_viewpainting.moc"

// The memory window as a screen reader gets it: over the accessibility bus of a session of our own,
// on a display of our own.

#include "memtestwindow.h"
#include "owndisplay.h"

#include <QProcess>

namespace {

constexpr int kPatienceMs = 60'000; // only a failure waits so long

} // namespace

class AccessibleGridTest : public QObject {
    Q_OBJECT

private slots:
    void theGridIsHeardAndEditedByKeysAlone()
    {
        MemTestWindow w;
        for (std::uint64_t i = 0; i < 0x100; ++i)
            w.target.Set(i, std::uint8_t(0x41 + i % 0x20));
        w.GoTo(0);
        QVERIFY(QTest::qWaitForWindowActive(&w.window));
        QTRY_COMPARE(w.window.CachedItemValue(0), 0x41); // the jump has arrived
        m_client.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_client.start("/usr/bin/python3", {QStringLiteral(CLIENT_SCRIPT)});
        QVERIFY(Hears("listening"));

        // The window learns a little later than the client that somebody listens. From then on keys
        // arrive only after the bus has been asked about them. Down and up in turn: what is
        // waited for next must not have been heard before.
        QVERIFY(QTest::qWaitFor(
            [&, isDown = false]() mutable {
                w.Key(std::exchange(isDown, !isDown) ? Qt::Key_Up : Qt::Key_Down);
                return HasHeard("focus");
            },
            kPatienceMs));
        w.Key(Qt::Key_Home, Qt::ControlModifier);
        w.Key(Qt::Key_Right);
        w.Key(Qt::Key_Right); // to the second byte
        QVERIFY(Hears("focus 00000000 42"));
        w.Key(Qt::Key_Right);
        QVERIFY(Hears("caret 2"));
        w.Key(Qt::Key_Down);
        QVERIFY(Hears("focus 00000010 52"));
        w.Key(Qt::Key_Right, Qt::ShiftModifier);
        QVERIFY(Hears("focus 00000010 53 selected (selected)"));
        w.Key(Qt::Key_Escape);

        w.Key(Qt::Key_7);
        QVERIFY(QTest::qWaitFor([&] { return w.overlay->hasFocus(); }));
        QTest::keyClick(w.overlay, Qt::Key_E);
        QTest::keyClick(w.overlay, Qt::Key_Return);
        QVERIFY(Hears("focus 00000010 7E"));
        QTRY_VERIFY(!w.target.writes.empty());
        QCOMPARE(w.TakeWrites(), "12:7E");

        m_heard.clear();
        w.target.Set(0x40, 0x99); // not under the cursor, so no event is sent
        w.Tick();
        w.target.Set(0x12, 0x9A);
        w.Tick();
        QVERIFY(Hears("news 9A changed"));
        QVERIFY2(m_before.trimmed().isEmpty(), qPrintable(m_before));

        w.owner.reset(); // the client still holds the cell
        m_client.write("held\n");
        QVERIFY(Hears("held gone"));
        m_client.write("end\n");
        QTRY_COMPARE_WITH_TIMEOUT(m_client.state(), QProcess::NotRunning, kPatienceMs);
    }

private:
    bool HasHeard(const QString &words)
    {
        m_heard += QString::fromUtf8(m_client.readAllStandardOutput()).replace("  ", " ");
        return m_heard.contains(words);
    }

    /// Takes what is heard, up to these words.
    bool Hears(const QString &words)
    {
        const bool found = QTest::qWaitFor([&] { return HasHeard(words); }, kPatienceMs);
        if (!found)
            qWarning("waited for \"%s\", heard: %s", qPrintable(words), qPrintable(m_heard));
        const qsizetype end = m_heard.indexOf(words) + words.size();
        m_before = m_heard.left(end - words.size());
        m_heard.remove(0, end);
        return found;
    }

    QProcess m_client; // an assistive program
    QString m_heard;
    QString m_before;
};

int main(int argc, char **argv)
{
    if (argc > 1) { // in the session
        QApplication application(argc, argv);
        AccessibleGridTest test;
        return QTest::qExec(&test);
    }
    const OwnDisplay display;
    if (display.Name().isEmpty() || QProcess::execute("dbus-run-session", {"true"}) != 0
        || QProcess::execute("/usr/bin/python3", {"-c", "import pyatspi"}) != 0) {
        std::printf(
            "WHOLE TEST SKIPPED: xvfb, dbus, at-spi2-core and python3-pyatspi are needed\n");
        return 0;
    }
    qputenv("DISPLAY", display.Name());
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
    return QProcess::execute(
        "dbus-run-session", {"--", QString::fromLocal8Bit(argv[0]), "session"});
}

#include "tst_accessiblegrid.moc"

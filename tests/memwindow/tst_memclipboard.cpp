// Copying and pasting, from the action to the clipboard and the target.

#include "memcommandwindow.h"

class MemClipboardTest : public QObject {
    Q_OBJECT

private slots:
    void copyPutsTheSelectionOnTheClipboard()
    {
        Commands c;
        c.Select(kBase + 0x53, kBase + 0x4E); // upwards, over two rows
        c.target.reads.clear();
        const std::vector<std::array<const char *, 4>> forms{
            {"Copy", "hex", "text/plain", "4E 4F\n50 51 52 53"},
            {"CopyHex", "hex", "text/plain", "4E 4F\n50 51 52 53"},
            {"CopyText", "text", "text/plain", "NOPQRS"},
            {"CopyBinary", "binary", kBinary, "NOPQRS"},
            {"CopyIntList", "hex as C initializer", "text/plain",
                "0x4E, 0x4F, 0x50, 0x51, 0x52, 0x53"}};
        for (const auto &[action, form, type, data] : forms) {
            c.Trigger(action);
            QCOMPARE(c.ClipboardData(type), data);
            QCOMPARE(QGuiApplication::clipboard()->mimeData()->formats().size(), 1);
            QCOMPARE(c.TakeMessages(),
                QStringLiteral("0: Memory selection copied to the clipboard (format=%1)")
                    .arg(form));
        }
        QCOMPARE(c.target.reads.at(0), (FakeTarget::Call{kBase + 0x40, 16, 0, "", {}}));
        QCOMPARE(c.target.reads.size(), 2U * 3 + 2); // by rows for texts, at once for bytes

        c.target.unreadable = {kBase + 0x4E};
        c.Trigger("CopyHex");
        QCOMPARE(c.ClipboardText().left(5), "-- 4F");
        c.Trigger("CopyBinary"); // unread bytes are zero bytes
        QCOMPARE(c.ClipboardData(kBinary).left(2), QByteArray("\0O", 2));
        const QString form = "1: Failed to read target memory|0: Memory selection copied to the "
                             "clipboard (format=%1)";
        QCOMPARE(c.TakeMessages(), form.arg("hex") + u'|' + form.arg("binary"));
        c.target.unreadable.clear();
        c.window.ScrollRows(-1000); // what is out of sight is copied as well
        c.Key(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(c.ClipboardText().left(5), "4E 4F");

        c.Trigger("View4ByteItems");
        c.Select(c.window.BaseAddress(), c.window.BaseAddress() + 3);
        c.SetBigEndian(true); // the list's numbers are little-endian all the same
        c.target.Set(c.window.BaseAddress(), 0x99);
        c.Trigger("CopyIntList");
        QVERIFY(c.ClipboardText().endsWith("99"));
    }

    void whatCannotBeCopiedIsSaid()
    {
        Commands c;
        const QString nothing = "1: Copy action could not be performed: no data to copy";
        QGuiApplication::clipboard()->setText("before");
        for (const char *action : {"CopyBinary", "CopyIntList"}) {
            c.Trigger(action);
            QCOMPARE(c.TakeMessages(), nothing);
            QCOMPARE(c.ClipboardText(), "before");
        }
        c.Trigger("Copy");
        QCOMPARE(c.ClipboardText(), "");
        c.TakeMessages();

        c.GoTo(0);
        c.SelectToTheEnd(); // more than any buffer should hold is refused, not attempted
        for (const char *copy : {"CopyBinary", "Copy"}) {
            c.Trigger(copy);
            QCOMPARE(c.TakeMessages(), nothing);
        }
        c.GoTo(kBase);
        c.Select(kBase, kBase + 7);
        c.window.SetCallbacks({});
        c.Trigger("CopyBinary"); // a host without callbacks; nowhere to report to either
        c.Trigger("CopyHex");
        QCOMPARE(c.ClipboardText(), ".. .. .. .. .. .. .. ..");
    }

    void pasteWritesTheBytesAndReadsThemBack()
    {
        Commands c;
        c.ClickByte(kBase + 0x25, 1);
        QGuiApplication::clipboard()->setText("AB\n");
        c.target.reads.clear();
        c.Key(Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(c.TakeWrites(), "20000025:41420A");
        QCOMPARE(c.target.reads.size(), 1U);
        QCOMPARE(c.LastRead(), (PageRange{kBase + 0x25, 3}));
        QVERIFY(c.Row(2).contains("24 41 42 0A"));

        c.target.failWrites = true;
        c.target.Set(kBase + 0x26, 0x99);
        c.Trigger("Paste");
        QCOMPARE(c.TakeMessages(), "1: Failed to write target memory");
        QVERIFY(c.Row(2).contains("41 99")); // the read-back comes all the same
    }

    void aPasteOutOfSightShowsWhatItWrote()
    {
        Commands c;
        c.ClickByte(kBase + 0x25);
        c.window.ScrollRows(-1000);
        c.PutOnClipboard(kBinary, "AB");
        c.Trigger("Paste");
        QCOMPARE(c.window.BaseAddress(), kBase + 0x20);
        QVERIFY(c.Row(0).contains("24 41 42"));
    }

    void pasteTakesOnlyBytesAndEndsWithTheSpace()
    {
        Commands c;
        c.GoTo(0xFFFF'FFF0);
        c.ClickByte(0xFFFF'FFFD);
        c.Trigger("Paste"); // nothing on the clipboard
        c.TakeMessages();
        c.PutOnClipboard("image/png", "picture");
        c.Trigger("Paste");
        QCOMPARE(c.TakeMessages(), "1: Cannot paste clipboard contents: unsupported content type");
        c.PutOnClipboard(kBinary, "");
        c.Trigger("Paste");
        QCOMPARE(c.TakeMessages() + c.TakeWrites(), "");
        c.PutOnClipboard(kBinary, QByteArray(100 * 1024 * 1024, 'x'));
        c.Trigger("Paste");
        QCOMPARE(c.TakeWrites(), "FFFFFFFD:787878");
    }
};

QTEST_MAIN(MemClipboardTest)
#include "tst_memclipboard.moc"

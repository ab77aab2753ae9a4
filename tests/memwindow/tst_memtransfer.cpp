// Filling, saving, loading and dropping, from the action to file and target.

#include "memcommandwindow.h"

#include <QDropEvent>
#include <QProgressDialog>
#include <QTemporaryDir>

class MemTransferTest : public QObject {
    Q_OBJECT

private slots:
    void fillWritesItsRangeOnly()
    {
        Commands c;
        c.Select(kBase + 3, kBase + 5);
        c.TriggerWithDialog<CMemDialog>("Fill", [&](CMemDialog &dialog) {
            QCOMPARE(dialog.GetStartAddress(), kBase + 3);
            QCOMPARE(dialog.GetSize(), 3U);
            dialog.reject();
        });
        QCOMPARE(c.TakeWrites(), "");
        c.Run(
            "Fill", {{"pEditBoxGenVal", "1FF"}, {"pEditBoxSize", "100"}}); // only the value counts
        QCOMPARE(c.TakeWrites(), "20000003:FFFFFF");
        QCOMPARE(c.Item(kBase + 4), "FF");
        QCOMPARE(c.window.focusWidget(), c.view);
        c.Key(Qt::Key_Escape); // no selection: what is on show
        c.Run("Fill", {{"pEditBoxGenVal", "0"}});
        QCOMPARE(std::uint64_t(c.target.writes.at(0).written.size()), c.window.BytesPerPage());
    }

    void saveWritesTheRangeOfTheDialog()
    {
        QTemporaryDir folder;
        const QString name = folder.filePath("out.bin");
        const auto field = [](const QString &size, const QString &file) {
            return std::vector<std::pair<const char *, QString>>{
                {"pEditBoxGenVal", file}, {"pEditBoxAddr", "20000010"}, {"pEditBoxSize", size}};
        };
        Commands c;
        c.Run("Save", field("14", name));
        QCOMPARE(Contents(name).toHex(), "101112131415161718191a1b1c1d1e1f20212223");
        QCOMPARE(c.LastRead(), (PageRange{kBase + 0x10, 0x14}));
        QCOMPARE(c.TakeMessages(), "");
        c.target.unreadable = {kBase + 0x12};
        c.Run("Save", field("13", name), true); // what can be read is saved, to the last byte
        QCOMPARE(Contents(name).toHex(),
            "10110013"
            "1415161718191a1b1c1d1e1f202122");
        QCOMPARE(c.TakeMessages(), "1: Failed to read target memory");
        QFile::remove(name);
        c.target.failAll = true;
        c.Run("Save", field("13", name));
        QCOMPARE(c.TakeMessages(), "1: Failed to read target memory");
        c.window.SetCallbacks({});
        c.Run("Save", field("13", name));
        QVERIFY(!QFile::exists(name));
    }

    void loadWritesTheFileAtTheCursor()
    {
        QTemporaryDir folder;
        const QString name = folder.filePath("in.bin");
        Put(name, "0123456789");
        Commands c;
        c.ClickByte(kBase + 0x18);
        c.Run("Load", {{"pEditBoxGenVal", name}});
        QCOMPARE(c.TakeWrites(), "20000018:30313233343536373839");
        QVERIFY(c.Row(1).endsWith("01234567"));
        c.TriggerWithDialog<CMemDialog>("Load", [&](CMemDialog &dialog) {
            c.Field(dialog, "pEditBoxGenVal")->setText(name);
            QVERIFY(QFile::remove(name)); // vanishes between the choice and the click
            dialog.accept();
        });
        QCOMPARE(c.TakeMessages() + c.TakeWrites(), "1: Could not open file for reading");
    }

    void longRangesGoInPieces_data()
    {
        QTest::addColumn<std::uint64_t>("bytes");
        QTest::addColumn<bool>("inOneCall");
        QTest::newRow("the longest in one call") << std::uint64_t{512 * 1024} << true;
        QTest::newRow("one byte more") << std::uint64_t{512 * 1024 + 1} << false;
        QTest::newRow("longer") << std::uint64_t{5'000'001} << false;
    }

    void longRangesGoInPieces()
    {
        QFETCH(std::uint64_t, bytes);
        QFETCH(bool, inOneCall);
        QTemporaryDir folder;
        const QString name = folder.filePath("large.bin");
        Commands c;
        c.Run("Save", {{"pEditBoxGenVal", name}, {"pEditBoxSize", QString::number(bytes, 16)}});
        QCOMPARE(c.target.reads.size() == 1, inOneCall);
        std::uint64_t next = kBase;
        for (const FakeTarget::Call &read : c.target.reads) { // no gap, no byte twice
            QCOMPARE(read.address, std::exchange(next, next + read.length));
            QVERIFY(read.length <= 512 * 1024);
        }
        QCOMPARE(next, kBase + bytes);
        const QByteArray saved = Contents(name);
        QCOMPARE(std::uint64_t(saved.size()), bytes);
        for (const std::uint64_t at : {std::uint64_t{0}, bytes / 3, bytes - 1})
            QCOMPARE(std::uint8_t(saved.at(qsizetype(at))), c.target.ByteAt(kBase + at));

        c.target.keepsWrites = false;
        c.Run("Load", {{"pEditBoxGenVal", name}, {"pEditBoxAddr", "30000000"}});
        QCOMPARE(c.target.writes.size() == 1, inOneCall);
        QByteArray loaded;
        for (const FakeTarget::Call &write : std::exchange(c.target.writes, {}))
            loaded += write.written;
        QVERIFY(loaded == saved);
    }

    void aLongTransferCanBeCancelled_data()
    {
        QTest::addColumn<QByteArray>("action");
        QTest::addColumn<bool>("windowGoes");
        for (const char *action : {"Save", "Fill", "Load", "Copy", "CopyBinary", "Paste"}) {
            QTest::addRow("%s, cancelled", action) << QByteArray(action) << false;
            QTest::addRow("%s, window gone", action) << QByteArray(action) << true;
        }
    }

    void aLongTransferCanBeCancelled()
    {
        QFETCH(QByteArray, action);
        QFETCH(bool, windowGoes);
        QTemporaryDir folder;
        const QString name = folder.filePath("old.bin");
        Put(name, QByteArray(8 * 1024 * 1024, 'o'));
        Commands c;
        c.target.logs = false;
        c.target.keepsWrites = false;
        c.GoTo(0xFF00'0000);
        c.SelectToTheEnd();
        c.PutOnClipboard(kBinary, QByteArray(16 * 1024 * 1024, 'p'));
        c.GoTo(0);                 // where the paste goes
        c.target.callTakesMs = 60; // minutes, if nobody ends it
        QTimer watch;
        connect(&watch, &QTimer::timeout, &watch, [&] {
            auto *dialog = qobject_cast<QProgressDialog *>(QApplication::activeModalWidget());
            if (dialog == nullptr)
                return;
            watch.stop();
            windowGoes ? c.owner.reset() : dialog->cancel();
        });
        watch.start(0);
        if (action == "Save")
            c.Run("Save", {{"pEditBoxGenVal", name}}, true);
        else if (action == "Fill")
            c.Run("Fill", {{"pEditBoxGenVal", "0"}});
        else if (action == "Load")
            c.Run("Load", {{"pEditBoxGenVal", name}, {"pEditBoxAddr", "0"}});
        else
            c.Trigger(action.constData());
        QVERIFY2(!watch.isActive(), "no dialog came");
        QCOMPARE(c.TakeMessages(), "");
        QCOMPARE(QGuiApplication::overrideCursor(), nullptr);
        QCOMPARE(
            Contents(name), QByteArray(8 * 1024 * 1024, 'o')); // a cancelled save keeps the old
        QCOMPARE(c.ClipboardData(kBinary).left(1), "p");
    }

    void droppedAddressesJumpAndDroppedFilesAsk()
    {
        QTemporaryDir folder;
        const QString name = folder.filePath("drop.bin");
        Put(name, "dropped");
        QMimeData file;
        file.setUrls({QUrl::fromLocalFile(name)});
        QMimeData address;
        address.setText(" 0x20000300\n");
        QMimeData words;
        words.setText("no address");

        Commands c;
        const auto drop = [&](QMimeData &contents) {
            QDragEnterEvent enter(QPoint(9, 9), Qt::CopyAction, &contents, Qt::LeftButton, {});
            QApplication::sendEvent(c.view->viewport(), &enter);
            QDropEvent event(QPointF(9, 9), Qt::CopyAction, &contents, Qt::LeftButton, {});
            if (enter.isAccepted())
                QApplication::sendEvent(c.view->viewport(), &event);
            return enter.isAccepted();
        };
        QVERIFY(!drop(words));
        QVERIFY(drop(address));
        QCOMPARE(c.window.BaseAddress(), kBase + 0x300);
        QCOMPARE(c.AddressItems(), "0x20000300");

        QVERIFY(drop(file));
        QString asked;
        QTimer::singleShot(0, &c.window, [&] {
            auto *dialog = qobject_cast<CMemDialog *>(QApplication::activeModalWidget());
            QVERIFY(dialog != nullptr);
            asked = dialog->GenericValue() + QString::number(dialog->GetSize());
            dialog->reject();
        });
        QApplication::processEvents();
        QCOMPARE(asked, name + u'7');
        QCOMPARE(c.TakeWrites(), ""); // a drop by itself writes nothing
        c.window.SetFeatureFlags(kFeatureRefresh);
        QVERIFY(!drop(file));
    }
};

QTEST_MAIN(MemTransferTest)
#include "tst_memtransfer.moc"

// Filling, saving, loading and dropping, from the dialog to file and target.

#include "memscript.h"
#include "rememberedfiles.h"

#include <QFileDialog>
#include <QProgressDialog>

class MemTransferTest : public QObject {
    Q_OBJECT

private slots:
    void typingBringsTheDialogInLine_data() // a name is what is typed into it
    {
        const char *all = "20000000 2000014F 00000150 ok";
        const char *none = "20000000 2000014F 00000150 why not";
        AddRows<Script>({{"Vx", "Save", all}, {"V~/x.bin", "Save", all}, {"V", "Save", none},
            {"V/tmp", "Save", none}, {"V/nonexistent/x", "Save", none},
            {"V/dev/null", "Save", none},
            {"Vx Sfffffff0", "Save", "fffffff0 10000013F 00000150 why not"},
            {"Vx Sfffffeb0", "Save", "fffffeb0 FFFFFFFF 00000150 ok"},
            {"Vx E20000010", "Save", "20000000 20000010 00000011 ok"},
            {"Vx E20000000", "Save", "20000000 20000000 00000001 ok"},
            {"Vx E10", "Save", "20000000 10  why not"}, {"Vx E", "Save", "20000000   why not"},
            {"Vx N0", "Save", "20000000 20000000 0 why not"}, // a size of 0 means two
            {"Vx N0 S1000", "Save", "1000  0 why not"},       // things, on purpose
            {"Vx NFFFFFFFFFFFFFFFF", "Save", "20000000  FFFFFFFFFFFFFFFF why not"},
            {"Vx Nxyz", "Save", "20000000 20000000 xyz why not"},
            {"Vx Smain", "Save", "main 0000014F 00000150 why not"}, {"VFF", "Fill", all},
            {"V0x1fE", "Fill", all}, {"Vffffffff", "Fill", all}, {"VG", "Fill", none},
            {"V-1", "Fill", none}, {"V1000000AB", "Fill", none}, {"V ", "Fill", none},
            {"V/tmp ", "Load", "20000000  00000000 why not"}});
    }

    void typingBringsTheDialogInLine()
    {
        QFETCH(const Script, row);
        const QString steps = QStringLiteral("form %1 cancel; do %2; sent?");
        QCOMPARE(MemScript().Run(steps.arg(row.name, row.steps)), QString(row.answers) + u'|');
    }

    void transfers_data()
    {
        AddRows<Script>({{"fill", // of the dialog only the value counts
                             "select @3 @5; form V1FF N100; do Fill; sent?; item? @4; box?",
                             "20000003 20000102 100 ok|@3:FFFFFF|FF|closed"},
            {"fill what is on show", "form V0; do Fill; reads?; item? @13F",
                "20000000 2000014F 00000150 ok|@0+150|00"},
            {"save", "form V~/a.bin S20000010 N14; do Save; reads?; messages?; file? a.bin",
                "20000010 20000023 14 ok|@10+14||101112131415161718191a1b1c1d1e1f20212223"},
            {"over a file, with a hole",
                "form V~/b.bin; do Save; bad @12; form V~/b.bin S20000010 N13; do Save; "
                "file? b.bin; messages?; failed?",
                "20000000 2000014F 00000150 ok|20000010 20000022 13 ok|replaced|"
                "101100131415161718191a1b1c1d1e1f202122|1: Failed to read target memory|"
                "Save: 1 of 19 bytes could not be read and are 00 in the file"},
            {"nothing to save",
                "host says; messages?; form V~/c.bin N13; do Save; messages?; form V~/c.bin; do "
                "Load",
                "|20000000 20000012 13 ok|1: Failed to read target memory|1: Failed to read target "
                "memory|20000000  00000000 why not"},
            {"load",
                "form V~/d.bin S20000030 N8; do Save; click @18; form V~/d.bin; do Load; sent?; "
                "item? @1F",
                "20000030 20000037 8 ok|20000018 2000001F 00000008 ok|@18:3031323334353637|37"},
            {"load what has gone",
                "form V~/e.bin N8; do Save; form V~/e.bin gone; do Load; messages?; failed?; sent?",
                "20000000 20000007 8 ok|20000000 20000007 00000008 ok|1: Could not open file for "
                "reading|"
                "Load: Could not open file for reading|"},
            {"drop an address", "drop no address; drop  0x20000300; base?; addresses?",
                "refused|taken|@300|0x20000300"},
            {"drop a file",
                "form V~/f.bin N8; do Save; drop ~/f.bin; form cancel; wait; sent?; features 1; "
                "drop ~/f.bin",
                "20000000 20000007 8 ok|taken|20000000 20000007 00000008 ok||refused"}});
    }

    void transfers() { RunScript(); }

    void theDialogsTexts()
    {
        QString texts; // title, button, label of the first field; what cannot be used
        for (const auto mode : {MemDialogMode::Load, MemDialogMode::Save, MemDialogMode::Fill}) {
            CMemDialog dialog;
            dialog.SetMode(mode);
            texts += dialog.windowTitle() + u','
                + dialog.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->text()
                + u',' + dialog.findChild<QLabel *>()->text();
            for (const char *name :
                {"pEditBoxAddr", "editBoxEndAddr", "pEditBoxSize", "pButtonSelectFile"}) {
                const auto *part = dialog.findChild<QWidget *>(QLatin1String(name));
                texts += part->isEnabled() && !part->isHidden() ? "" : name;
            }
        }
        QCOMPARE(texts,
            "Load Memory Data,Load,File:editBoxEndAddrpEditBoxSizeSave Memory Data,Save,"
            "File:Fill Memory,Fill,Fill Value:pButtonSelectFile");
    }

    void theChooserRemembersItsFile()
    {
        MemScript script;
        script.Run("form V~/chosen.bin N8; do Save");
        const QString name = QDir::home().filePath("chosen.bin");
        CMemDialog dialog;
        dialog.SetMode(MemDialogMode::Load);
        QTimer::singleShot(0, &dialog, [&name] {
            auto *chooser = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
            QVERIFY(chooser != nullptr);
            chooser->selectFile(name);
            QMetaObject::invokeMethod(chooser, "accept");
        });
        dialog.findChild<QPushButton *>("pButtonSelectFile")->click();
        QCOMPARE(dialog.GetSize(), 8U);
        QCOMPARE(dialog.FilePath(), name);
        QCOMPARE(MEMFILE_Remembered(RememberedFile::Open), name);
        QCOMPARE(MEMFILE_Remembered(RememberedFile::Save), QDir::homePath() + "/data.bin");
    }

    void longRangesGoInPieces()
    {
        for (const std::uint64_t bytes : {512 * 1024, 512 * 1024 + 1, 5'000'001}) {
            const bool inOneCall = bytes == 512 * 1024;
            MemScript c;
            c.Run(QStringLiteral("form V~/long.bin N%1; do Save").arg(bytes, 0, 16));
            QCOMPARE(c.target.reads.size() == 1, inOneCall);
            std::uint64_t next = kBase;
            for (const FakeTarget::Call &read : c.target.reads) { // no gap, no byte twice
                QCOMPARE(read.address, std::exchange(next, next + read.length));
                QVERIFY(read.length <= 512 * 1024);
            }
            QCOMPARE(next, kBase + bytes);
            const QByteArray saved = FileContent(QDir::home().filePath("long.bin"));
            QCOMPARE(std::uint64_t(saved.size()), bytes);
            for (const std::uint64_t at : {std::uint64_t{0}, bytes / 3, bytes - 1})
                QCOMPARE(std::uint8_t(saved.at(qsizetype(at))), c.target.ByteAt(kBase + at));

            c.target.keepsWrites = false;
            c.Run("form V~/long.bin S30000000; do Load");
            QCOMPARE(c.target.writes.size() == 1, inOneCall);
            QByteArray loaded;
            for (const FakeTarget::Call &write : c.target.writes)
                loaded += write.written;
            QVERIFY(loaded == saved);
        }
    }

    void aLongTransferCanBeCancelled_data()
    {
        AddRows<Script>({{"save", "form V~/old.bin; do Save", ""}, {"fill", "form V0; do Fill", ""},
            {"load", "form V~/old.bin S0; do Load", ""}, {"copy", "do Copy", ""},
            {"copy bytes", "do CopyBinary", ""}, {"paste", "do Paste", ""}});
    }

    void aLongTransferCanBeCancelled()
    {
        QFETCH(const Script, row);
        const QString name = QDir::home().filePath("old.bin");
        const QByteArray before(8 * 1024 * 1024, 'o');
        for (const bool windowGoes : {false, true}) {
            PutFile(name, before);
            MemScript c;
            c.target.logs = false;
            c.target.keepsWrites = false;
            c.Run("goto FF000000; hold Shift; key Ctrl+Shift+End; release Shift; goto 0"); // where
                                                                                           // the
                                                                                           // paste
                                                                                           // goes
            c.PutOnClipboard(kBinary, QByteArray(16 * 1024 * 1024, 'p'));
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
            c.Run(row.steps);
            QVERIFY2(!watch.isActive(), "no dialog came");
            QCOMPARE(c.TakeMessages(), "");
            QCOMPARE(QGuiApplication::overrideCursor(), nullptr);
            QVERIFY(FileContent(name) == before); // a cancelled save keeps the old file
            QCOMPARE(c.ClipboardData(kBinary).left(1), "p");
        }
    }
};

QTEST_MAIN(MemTransferTest)
#include "tst_memtransfer.moc"

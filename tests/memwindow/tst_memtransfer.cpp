// Filling, saving, loading and dropping, from the dialog to file and target; and the files alone.

#include "asuser.h"
#include "memorydata.h"
#include "memscript.h"
#include "rememberedfiles.h"

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr const char *kTransfers = R"(
fill: select @3 @5; form V1FF N100; do Fill -> 20000003 20000102 100 ok; sent? -> @3:FFFFFF;
    item? @4 -> FF; box? -> closed
fill what is on show: form V0; do Fill -> 20000000 2000014F 00000150 ok; reads? -> @0+150;
    item? @13F -> 00
save: form V~/a.bin S20000010 N14; do Save -> 20000010 20000023 14 ok; reads? -> @10+14;
    messages? ->; file? a.bin -> 101112131415161718191a1b1c1d1e1f20212223
over a file, with a hole: form V~/b.bin; do Save -> 20000000 2000014F 00000150 ok; bad @12;
    form V~/b.bin S20000010 N13; do Save -> 20000010 20000022 13 ok|replaced;
    file? b.bin -> 101100131415161718191a1b1c1d1e1f202122;
    messages? -> 1: Failed to read target memory; failed? -> Save: 1 of 19 bytes could not be read
    and are 00 in the file
nothing to save: host says; messages? ->; form V~/c.bin N13; do Save -> 20000000 20000012 13 ok;
    messages? -> 1: Failed to read target memory|1: Failed to read target memory; form V~/c.bin;
    do Load -> 20000000  00000000 why not
load: form V~/d.bin S20000030 N8; do Save -> 20000030 20000037 8 ok; click @18; form V~/d.bin;
    do Load -> 20000018 2000001F 00000008 ok; sent? -> @18:3031323334353637; item? @1F -> 37
load what has gone: form V~/e.bin N8; do Save -> 20000000 20000007 8 ok; form V~/e.bin gone;
    do Load -> 20000000 20000007 00000008 ok; messages? -> 1: Could not open file for reading;
    failed? -> Load: Could not open file for reading; sent? ->
drop an address: drop no address -> refused; drop  0x20000300 -> taken; base? -> @300;
    addresses? -> 0x20000300
drop a file: form V~/f.bin N8; do Save -> 20000000 20000007 8 ok; drop ~/f.bin -> taken;
    form cancel; wait -> 20000000 20000007 00000008 ok; sent? ->; features 1;
    drop ~/f.bin -> refused
)";

struct Transfer {
    const char *name; ///< its steps
};

/// What is typed into a form, and how it stands then.
struct Form {
    const char *name;
    const char *command;
    const char *fields;
};

} // namespace

class MemTransferTest : public QObject {
    Q_OBJECT

private slots:
    void typingBringsTheDialogInLine_data() // a name is what is typed into it
    {
        const char *all = "20000000 2000014F 00000150 ok";
        const char *none = "20000000 2000014F 00000150 why not";
        AddRows<Form>({{"Vx", "Save", all}, {"V", "Save", none}, {"V/nonexistent/x", "Save", none},
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
            {"Vffffffff", "Fill", all}, {"V1000000AB", "Fill", none},
            {"V/tmp ", "Load", "20000000  00000000 why not"}});
    }

    void typingBringsTheDialogInLine()
    {
        QFETCH(const Form, row);
        MemScript script;
        script.Run(QStringLiteral("form %1 cancel").arg(row.name));
        const QString answered = QStringLiteral("do %1 -> %2").arg(row.command, row.fields);
        QCOMPARE(script.Do(answered), answered);
        QVERIFY(script.target.writes.empty());
    }

    void transfers_data() { AddScripts(kTransfers); }
    void transfers() { RunScript(); }

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
            for (std::uint64_t i = 0; i < bytes; i += 4099)
                QCOMPARE(std::uint8_t(saved.at(qsizetype(i))), c.target.ByteAt(kBase + i));
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
        AddRows<Transfer>({{"form V~/old.bin; do Save"}, {"form V0; do Fill"},
            {"form V~/old.bin S0; do Load"}, {"do Copy"}, {"do CopyBinary"}, {"do Paste"}});
    }

    void aLongTransferCanBeCancelled()
    {
        QFETCH(const Transfer, row);
        const QString name = QDir::home().filePath("old.bin");
        const QByteArray before(8 * 1024 * 1024, 'o');
        for (const bool windowGoes : {false, true}) {
            PutFile(name, before);
            MemScript c;
            c.target.logs = false;
            c.target.keepsWrites = false;
            // Much is selected, and what is pasted goes to the start of the space.
            c.Run("goto FF000000; hold Shift; key Ctrl+Shift+End; release Shift; goto 0");
            c.PutOnClipboard(kBinary, QByteArray(16 * 1024 * 1024, 'p'));
            c.target.callTakesMs = 60; // takes minutes unless it is cancelled
            QTimer watch;
            connect(&watch, &QTimer::timeout, &watch, [&] {
                auto *dialog = qobject_cast<QProgressDialog *>(QApplication::activeModalWidget());
                if (dialog == nullptr)
                    return;
                watch.stop();
                windowGoes ? c.owner.reset() : dialog->cancel();
            });
            watch.start(0);
            c.Run(row.name);
            QVERIFY2(!watch.isActive(), "no dialog came");
            QCOMPARE(c.TakeMessages(), "");
            QCOMPARE(QGuiApplication::overrideCursor(), nullptr);
            QVERIFY(FileContent(name) == before); // a cancelled save keeps the old file
            QCOMPARE(c.ClipboardData(kBinary).left(1), "p");
        }
    }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(WriteMemoryFile(Path("old.bin"), "precious"));
    }

    void everyByteComesBack()
    {
        QByteArray bytes;
        for (int i = 0; i < 3 * 1024 * 1024; ++i)
            bytes.append(static_cast<char>(i ^ (i >> 8) ^ (i >> 16)));
        QVERIFY(QFile::link("old.bin", Path("link.bin"))); // a link stays a link
        for (const QByteArray &contents : {bytes, QByteArray("short"), QByteArray()}) {
            QVERIFY(WriteMemoryFile(Path("link.bin"), contents));
            QCOMPARE(MEMFILE_Size(Path("link.bin")).value(), std::uint64_t(contents.size()));
            QVERIFY(ReadMemoryFile(Path("old.bin")).value() == contents);
        }
        QVERIFY(QFileInfo(Path("link.bin")).isSymLink());
    }

    void onlyRegularFilesAreTouched()
    {
        QCOMPARE(::mkfifo(QFile::encodeName(Path("pipe")).constData(), 0600), 0);
        QVERIFY(QFile::link("nowhere/at/all", Path("dangling")));
        for (const QString &name :
            {QString(), Path("pipe"), m_folder->path(), Path("dangling"), Path("none/x.bin"),
                QStringLiteral("/dev/zero"), QStringLiteral("/dev/full"), QString(5000, u'n')}) {
            QVERIFY2(!MEMFILE_Size(name), qPrintable(name));
            QVERIFY2(!ReadMemoryFile(name), qPrintable(name));
            QVERIFY2(!WriteMemoryFile(name, "data"), qPrintable(name));
        }
        QCOMPARE(FileNames(m_folder->path()).join(u' '), "dangling old.bin pipe");
    }

    void aSaveThatDoesNotEndLeavesTheOldFileOrNone()
    {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit usual{};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &usual), 0);
        for (const char *name : {"old.bin", "new.bin"}) {
            for (const std::size_t size : {1000, 1024 * 1024}) { // one that waits in a buffer too
                const std::vector<std::uint8_t> bytes(size, 'x');
                MemFileWriter dropped;
                QVERIFY(dropped.Open(Path(name)) && dropped.Write(bytes));
                MemFileWriter full;
                QVERIFY(full.Open(Path(name)));
                const rlimit little{size / 2, usual.rlim_max}; // too little room
                setrlimit(RLIMIT_FSIZE, &little);
                const bool isSaved = full.Write(bytes) && full.Commit();
                setrlimit(RLIMIT_FSIZE, &usual);
                QVERIFY(!isSaved);
            }
        }
        QCOMPARE(FileContent(Path("old.bin")), "precious");
    }

    void aFolderThatTakesNoNewFileStillTakesTheOldOne()
    {
        const auto allow = [](const QString &path, mode_t mode) {
            return ::chmod(QFile::encodeName(path).constData(), mode) == 0;
        };
        QVERIFY(allow(Path("old.bin"), 0666) && allow(m_folder->path(), 0555));
        {
            const AsUser user;
            QVERIFY(WriteMemoryFile(Path("old.bin"), "new"));
            QVERIFY(!WriteMemoryFile(Path("other.bin"), "new"));
        }
        QVERIFY(allow(m_folder->path(), 0755));
        QCOMPARE(FileContent(Path("old.bin")), "new");
    }

    void cleanup() { QVERIFY(FileNames(m_folder->path()).filter("new.bin").isEmpty()); }

private:
    QString Path(const char *name) const { return m_folder->filePath(QLatin1String(name)); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_MAIN(MemTransferTest)
#include "tst_memtransfer.moc"

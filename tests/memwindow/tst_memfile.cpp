#include "memorydata.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Lets this process write files of at most this many bytes; what goes beyond fails like a write
/// to a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit = {bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_before); }
    Q_DISABLE_COPY_MOVE(FileSizeLimit)

private:
    rlimit m_before = {};
};

} // namespace

class MemFileTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void everyByteComesBack()
    {
        QByteArray bytes;
        for (int i = 0; i < 3 * 1024 * 1024; ++i)
            bytes.append(static_cast<char>(i ^ (i >> 8) ^ (i >> 16)));
        QVERIFY(WriteMemoryFile(Path("data.bin"), bytes));
        QCOMPARE(MEMFILE_Size(Path("data.bin")).value(), std::uint64_t(bytes.size()));
        QVERIFY(ReadMemoryFile(Path("data.bin")).value() == bytes);
        for (const char *shorter : {"short", ""}) { // nothing of the longer contents may stay
            QVERIFY(WriteMemoryFile(Path("data.bin"), shorter));
            QCOMPARE(ReadMemoryFile(Path("data.bin")).value(), shorter);
        }
        // A link stays a link, and what it points to gets the bytes.
        QVERIFY(QFile::link("data.bin", Path("link.bin")));
        QVERIFY(WriteMemoryFile(Path("link.bin"), "through"));
        QVERIFY(QFileInfo(Path("link.bin")).isSymLink());
        QCOMPARE(ReadMemoryFile(Path("data.bin")).value(), "through");
    }

    void onlyRegularFilesAreTouched()
    {
        QCOMPARE(::mkfifo(QFile::encodeName(Path("pipe")).constData(), 0600), 0);
        QVERIFY(QDir(m_folder->path()).mkdir("folder"));
        QVERIFY(QFile::link("nowhere/at/all", Path("dangling")));
        for (const QString &name :
            {QString(), Path("pipe"), Path("folder"), Path("dangling"), Path("none/x.bin"),
                QStringLiteral("/dev/zero"), QStringLiteral("/dev/full"), QString(5000, u'n')}) {
            QVERIFY2(!MEMFILE_Size(name), qPrintable(name));
            QVERIFY2(!ReadMemoryFile(name), qPrintable(name));
            QVERIFY2(!WriteMemoryFile(name, "data"), qPrintable(name));
        }
        QCOMPARE(Names(), "dangling folder pipe"); // no stray files of half-done writes
    }

    void aWriterThatDoesNotCommitLeavesTheOldFile()
    {
        QVERIFY(WriteMemoryFile(Path("old.bin"), "precious"));
        for (const char *name : {"old.bin", "new.bin"}) {
            MemFileWriter writer;
            QVERIFY(writer.Open(Path(name)));
            QVERIFY(writer.Write(std::vector<std::uint8_t>(100'000, 'x')));
        }
        QCOMPARE(ReadMemoryFile(Path("old.bin")).value(), "precious");
        QCOMPARE(Names(), "old.bin");
    }

    void aFullDiskLeavesTheOldFileOrNone()
    {
        QVERIFY(WriteMemoryFile(Path("old.bin"), "precious"));
        {
            const FileSizeLimit limit(64 * 1024);
            QVERIFY(!WriteMemoryFile(Path("old.bin"), QByteArray(1024 * 1024, 'x')));
            QVERIFY(!WriteMemoryFile(Path("new.bin"), QByteArray(1024 * 1024, 'x')));
        }
        QCOMPARE(ReadMemoryFile(Path("old.bin")).value(), "precious");
        QCOMPARE(Names(), "old.bin");
    }

    void aFolderThatTakesNoNewFileStillTakesTheOldOne()
    {
        if (geteuid() == 0)
            QSKIP("The superuser may write to every folder.");
        QVERIFY(WriteMemoryFile(Path("old.bin"), "old contents"));
        QVERIFY(QFile::setPermissions(m_folder->path(), QFile::ReadOwner | QFile::ExeOwner));
        QVERIFY(WriteMemoryFile(Path("old.bin"), "new"));
        QVERIFY(!WriteMemoryFile(Path("other.bin"), "new"));
        QVERIFY(QFile::setPermissions(
            m_folder->path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QCOMPARE(ReadMemoryFile(Path("old.bin")).value(), "new");
    }

private:
    QString Path(const char *name) const { return m_folder->filePath(QLatin1String(name)); }
    QString Names() const
    {
        return QDir(m_folder->path())
            .entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot)
            .join(u' ');
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(MemFileTest)
#include "tst_memfile.moc"

#include "memfile.h"

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

bool Write(const QString &fileName, const QByteArray &bytes)
{
    return MEMFILE_Write(fileName,
        {reinterpret_cast<const std::uint8_t *>(bytes.data()),
            static_cast<std::size_t>(bytes.size())});
}

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
        QVERIFY(Write(Path("data.bin"), bytes));
        QCOMPARE(MEMFILE_Size(Path("data.bin")).value(), std::uint64_t(bytes.size()));
        QVERIFY(MEMFILE_Read(Path("data.bin")).value() == bytes);
        for (const char *shorter : {"short", ""}) { // nothing of the longer contents may stay
            QVERIFY(Write(Path("data.bin"), shorter));
            QCOMPARE(MEMFILE_Read(Path("data.bin")).value(), shorter);
        }
        // A link stays a link, and what it points to gets the bytes.
        QVERIFY(QFile::link("data.bin", Path("link.bin")));
        QVERIFY(Write(Path("link.bin"), "through"));
        QVERIFY(QFileInfo(Path("link.bin")).isSymLink());
        QCOMPARE(MEMFILE_Read(Path("data.bin")).value(), "through");
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
            QVERIFY2(!MEMFILE_Read(name), qPrintable(name));
            QVERIFY2(!Write(name, "data"), qPrintable(name));
        }
        QCOMPARE(Names(), "dangling folder pipe"); // no stray files of half-done writes
    }

    void aFullDiskLeavesTheOldFileOrNone()
    {
        QVERIFY(Write(Path("old.bin"), "precious"));
        {
            const FileSizeLimit limit(64 * 1024);
            QVERIFY(!Write(Path("old.bin"), QByteArray(1024 * 1024, 'x')));
            QVERIFY(!Write(Path("new.bin"), QByteArray(1024 * 1024, 'x')));
        }
        QCOMPARE(MEMFILE_Read(Path("old.bin")).value(), "precious");
        QCOMPARE(Names(), "old.bin");
    }

    void aFolderThatTakesNoNewFileStillTakesTheOldOne()
    {
        if (geteuid() == 0)
            QSKIP("The superuser may write to every folder.");
        QVERIFY(Write(Path("old.bin"), "old contents"));
        QVERIFY(QFile::setPermissions(m_folder->path(), QFile::ReadOwner | QFile::ExeOwner));
        QVERIFY(Write(Path("old.bin"), "new"));
        QVERIFY(!Write(Path("other.bin"), "new"));
        QVERIFY(QFile::setPermissions(
            m_folder->path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QCOMPARE(MEMFILE_Read(Path("old.bin")).value(), "new");
    }

    void filesTooLargeToHoldAreRefused()
    {
        QFile file(Path("huge.bin"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.resize(4LL * 1024 * 1024 * 1024)); // sparse: takes no room
        QCOMPARE(MEMFILE_Size(Path("huge.bin")).value(), std::uint64_t{0x1'0000'0000});
        QVERIFY(!MEMFILE_Read(Path("huge.bin")));
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

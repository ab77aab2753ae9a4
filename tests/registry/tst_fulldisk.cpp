// What is saved to a disk that is really full: a small one of our own, in a mount namespace.

#include "memorydata.h"
#include "settingsstore.h"
#include "sysregistry.h"
#include "testfile.h"

#include <QtTest>

#include <cstdio>

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace {

constexpr char kInsideVariable[] = "FULLDISK_INSIDE";

/// Fills the disk until an error says that it is full: with one large file, or with empty ones.
void Fill(const QString &folder, bool takesRoom)
{
    bool isFull = false;
    for (int i = 0; !isFull; ++i) {
        const QByteArray path = (folder + '/' + QString::number(i)).toUtf8();
        errno = 0;
        const int file = open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        while (takesRoom && write(file, path, 1) == 1) { }
        isFull = errno == ENOSPC;
        close(file);
    }
}

using Save = bool (*)(const QByteArray &data);

QString Path(const char *name)
{
    return QDir::homePath() + '/' + name;
}

bool SaveMemory(const QByteArray &data)
{
    return WriteMemoryFile(Path("memory"), data);
}

bool SaveSettings(const QByteArray &data)
{
    SETTINGS_SetPath(Path("settings").toUtf8());
    return SETTINGS_WriteText("S", data.left(1), data) == SETTINGS_OK;
}

bool SaveRegistry(const QByteArray &data)
{
    const auto size = static_cast<std::uint32_t>(data.size());
    return SYS_RegSetValue(SYS_REG_CURRENT_USER, "V", SYS_REG_TYPE_SZ, data, size) == SYS_REG_OK;
}

} // namespace

class FullDiskTest : public QObject {
    Q_OBJECT

private slots:
    void theOldFileStays_data()
    {
        QTest::addColumn<Save>("save");
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("takesRoom");
        const QString registry = Path(".config/TOLVEN/TOLVEN_REG_HKEY_CURRENT_USER.xml");
        for (const bool takesRoom : {true, false}) {
            const char *const shortage = takesRoom ? "no room" : "no further file";
            QTest::addRow("memory, %s", shortage) << &SaveMemory << Path("memory") << takesRoom;
            QTest::addRow("settings, %s", shortage)
                << &SaveSettings << Path("settings") << takesRoom;
            QTest::addRow("registry, %s", shortage) << &SaveRegistry << registry << takesRoom;
        }
    }

    void theOldFileStays()
    {
        QFETCH(Save, save);
        QFETCH(QString, path);
        QFETCH(bool, takesRoom);
        QVERIFY(save(QByteArray(1000, 'o')));
        const QByteArray before = FileContent(path);
        const QStringList files = FileNames(QFileInfo(path).path());
        QVERIFY(QDir().mkpath(Path("filler")));
        Fill(Path("filler"), takesRoom);
        QVERIFY(!save(QByteArray(1500, 'n')));
        QCOMPARE(FileContent(path), before);
        QVERIFY(QDir(Path("filler")).removeRecursively());
        QCOMPARE(FileNames(QFileInfo(path).path()), files); // nothing half done beside it
        QVERIFY(save(QByteArray(1500, 'n')));
        QVERIFY(FileContent(path).contains(QByteArray(1500, 'n')));
    }
};

int main(int argc, char **argv)
{
    if (!qEnvironmentVariableIsSet(kInsideVariable)) {
        if (std::system("unshare -rm mount -t tmpfs none /tmp 2>/dev/null") != 0) {
            std::puts("WHOLE TEST SKIPPED: this system permits no mounts in a namespace");
            return 0;
        }
        qputenv(kInsideVariable, "1");
        return execlp("unshare", "unshare", "-rm", argv[0], nullptr);
    }
    if (mount("none", qPrintable(QDir::homePath()), "tmpfs", 0, "size=64k,nr_inodes=40") != 0) {
        std::perror("mount");
        return 1;
    }
    FullDiskTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_fulldisk.moc"

// What is saved to a disk that is really full: a small one of our own, in a mount namespace.

#include "memorydata.h"
#include "settingshost.h"
#include "settingsstore.h"
#include "sysregistry.h"

#include "testfile.h"

#include <QTest>

#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace {

constexpr char kInsideVariable[] = "FULLDISK_INSIDE";

/// What there is no more of.
enum class Shortage { Room, Files };

QByteArrayList shownErrors;

/// Fills the disk until an error says that it is full, and empties it again at its end.
class Filler {
public:
    explicit Filler(Shortage shortage)
    {
        QDir().mkpath(m_folder.path());
        bool full = false;
        for (int i = 0; !full; ++i) {
            errno = 0;
            const QByteArray path = m_folder.filePath(QString::number(i)).toUtf8();
            const int file = open(path.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
            while (shortage == Shortage::Room && write(file, path.constData(), 1) == 1) { }
            full = errno == ENOSPC;
            close(file);
        }
    }
    ~Filler() { m_folder.removeRecursively(); }
    Q_DISABLE_COPY_MOVE(Filler)

private:
    QDir m_folder{QDir::homePath() + "/filler"};
};

} // namespace

class FullDiskTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase_data()
    {
        QTest::addColumn<Shortage>("shortage");
        QTest::newRow("no room") << Shortage::Room;
        QTest::newRow("no further file") << Shortage::Files;
    }
    void settingsStay()
    {
        QFETCH_GLOBAL(Shortage, shortage);
        const QString folder = QDir::homePath();
        const QString path = folder + "/test.ini";
        QFile::remove(path);
        SETTINGS_SetHost({[](const char *text) { shownErrors.append(text); }, nullptr});
        SETTINGS_SetPath(path.toUtf8().constData());
        SETTINGS_CloseStore();
        shownErrors.clear();
        const QByteArray text(1000, 't');
        QCOMPARE(SETTINGS_WriteText("S", "Text", text), SETTINGS_OK);
        const QByteArray before = FileContent(path);
        {
            const Filler filler(shortage);
            QCOMPARE(SETTINGS_WriteDecimal("S", "Number", 7), SETTINGS_ERROR);
            QCOMPARE(SETTINGS_DeleteKey("S", "Text"), SETTINGS_ERROR); // a shorter file, too
            QCOMPARE(shownErrors.size(), 2);
            QCOMPARE(shownErrors[0],
                "Could not save file [" + path.toUtf8() + "]\nFailed to write data!");
            QCOMPARE(FileContent(path), before);
            QCOMPARE(FileNames(folder), QStringList("test.ini"));
        }
        QCOMPARE(SETTINGS_WriteDecimal("S", "Further", 8), SETTINGS_OK);
        QCOMPARE(FileContent(path), "[S]\r\nFurther = 8\r\nNumber = 7\r\n");
        QFile::remove(path);
    }

    void registryStays()
    {
        QFETCH_GLOBAL(Shortage, shortage);
        const QString folder = QDir::homePath() + "/.config/TOLVEN";
        const QString path = folder + "/TOLVEN_REG_HKEY_CURRENT_USER.xml";
        QDir(folder).removeRecursively();
        SYS_RegRelease();
        const auto set = [](SYS_REG_KEY root, std::uint8_t value) {
            return SYS_RegSetValue(root, "V", SYS_REG_TYPE_BINARY, &value, 1);
        };
        QCOMPARE(set(SYS_REG_CURRENT_USER, 0x11), SYS_REG_OK);
        const QByteArray before = FileContent(path);
        {
            const Filler filler(shortage);
            QCOMPARE(set(SYS_REG_CURRENT_USER, 0x22), SYS_REG_ERROR);
            QCOMPARE(
                set(SYS_REG_LOCAL_MACHINE, 0x33), SYS_REG_ERROR); // its file is still to be made
            std::uint8_t value = 0;
            std::uint32_t size = 1;
            QCOMPARE(
                SYS_RegQueryValue(SYS_REG_CURRENT_USER, "V", nullptr, &value, &size), SYS_REG_OK);
            QCOMPARE(value, 0x11);
            QCOMPARE(FileContent(path), before);
            QCOMPARE(FileNames(folder).size(), 1);
        }
        QCOMPARE(set(SYS_REG_CURRENT_USER, 0x22), SYS_REG_OK);
        QCOMPARE(set(SYS_REG_LOCAL_MACHINE, 0x33), SYS_REG_OK);
        QVERIFY(FileContent(path).contains("<V>22</V>"));
        SYS_RegRelease();
        QDir(folder).removeRecursively();
    }

    void savedMemoryStays()
    {
        QFETCH_GLOBAL(Shortage, shortage);
        const QString folder = QDir::homePath();
        const QString path = folder + "/data.bin";
        const QByteArray old(5000, 'o');
        const QByteArray other(6000, 'n');
        QVERIFY(WriteMemoryFile(path, old));
        {
            const Filler filler(shortage);
            QVERIFY(!WriteMemoryFile(path, other));
            QVERIFY(!WriteMemoryFile(folder + "/new.bin", other));
            QCOMPARE(FileContent(path), QByteArray(5000, 'o'));
            QCOMPARE(FileNames(folder), QStringList("data.bin"));
        }
        QVERIFY(WriteMemoryFile(path, other));
        QFile::remove(path);
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
        std::vector<char *> arguments = {qstrdup("unshare"), qstrdup("-rm")};
        arguments.insert(arguments.end(), argv, argv + argc);
        arguments.push_back(nullptr);
        execvp("unshare", arguments.data());
        return 1;
    }
    const QByteArray home = QDir::homePath().toUtf8();
    if (mount("none", home.constData(), "tmpfs", 0, "size=64k,nr_inodes=40") != 0) {
        std::perror("mount");
        return 1;
    }
    FullDiskTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_fulldisk.moc"

#include "rememberedfiles.h"
#include "windowsettings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QTest>

namespace {

const QString kWindow = QStringLiteral("HexEditor");

QString StoreFile()
{
    return QSettings().fileName();
}

/// Puts an INI file there as an editor would.
void HandEdit(const QByteArray &contents)
{
    QDir().mkpath(QFileInfo(StoreFile()).path());
    QFile file(StoreFile());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(contents);
    file.close();
    QSettings().sync();
}

void CheckFirstStart(const WindowSettings &settings)
{
    QCOMPARE(settings.baseAddress, 0U);
    QCOMPARE(int{settings.bytesPerItem}, 1);
    QCOMPARE(int{settings.accessWidth}, 0);
    QCOMPARE(settings.showToolbar, true);
    QCOMPARE(settings.addressBoxItems, QStringList());
    QCOMPARE(settings.lastInputText, "0");
}

} // namespace

class WindowSettingsTest : public QObject {
    Q_OBJECT

private slots:
    void init() { QSettings().clear(); }
    void anEmptyStoreIsAFirstStart() { CheckFirstStart(WINSET_Load(kWindow)); }

    void everythingComesBackFromItsKey()
    {
        WindowSettings saved{0x1'8000'0010, 4, 2, false, {"0x20000A00", "main, or so"}, "a, b"};
        WINSET_Save(kWindow, saved);
        QFile file(StoreFile());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(),
            "[AppData]\n"
            "HexEditor\\Access%20Width=2\n"
            "HexEditor\\Address%20Box%20Items=0x20000A00, \"main, or so\"\n"
            "HexEditor\\Base%20Address=6442450960\n"
            "HexEditor\\Bytes%20Per%20Item=4\n"
            "HexEditor\\Last%20Input%20Text=\"a, b\"\n"
            "HexEditor\\Show%20Toolbar=false\n");
        for (const QStringList &items : {saved.addressBoxItems, {"7"}, QStringList()}) {
            saved.addressBoxItems = items;
            WINSET_Save(kWindow, saved);
            const WindowSettings loaded = WINSET_Load(kWindow);
            QCOMPARE(loaded.baseAddress, 0x8000'0010U); // loses its upper half
            QCOMPARE(loaded.bytesPerItem, saved.bytesPerItem);
            QCOMPARE(loaded.accessWidth, saved.accessWidth);
            QCOMPARE(loaded.showToolbar, saved.showToolbar);
            QCOMPARE(loaded.addressBoxItems, items);
            QCOMPARE(loaded.lastInputText, saved.lastInputText);
        }
    }

    void nonsenseInTheFileReadsAsAFirstStart()
    {
        HandEdit("[AppData]\n"
                 "HexEditor\\Base%20Address=-5\n"
                 "HexEditor\\Bytes%20Per%20Item=3\n"
                 "HexEditor\\Access%20Width=4294967297\n"
                 "HexEditor\\Address%20Box%20Items=@Variant(\\0\\0\\0\\x2)\n"
                 "HexEditor\\Last%20Input%20Text=0\n");
        CheckFirstStart(WINSET_Load(kWindow));
        HandEdit("[AppData]\nHexEditor\\Base%20Address=\"1,2\"\nHexEditor\\Bytes%20Per%20Item=a,b\n"
                 "HexEditor\\Access%20Width=@Size(3 4)\n[AppData\nHexEditor=7\n\0\xFF=\n");
        CheckFirstStart(WINSET_Load(kWindow));
    }

    void theDialogsPathsComeBack()
    {
        MEMFILE_Remember(RememberedFile::Save, "/tmp/a, b.bin");
        QCOMPARE(MEMFILE_Remembered(RememberedFile::Save), "/tmp/a, b.bin");
        QCOMPARE(MEMFILE_Remembered(RememberedFile::Open), QDir::homePath() + "/data.bin");
        QCOMPARE(QSettings().value("AppData/HexEditorMemDialog/DefaultDirSave").toString(),
            "/tmp/a, b.bin");
    }
};

QTEST_GUILESS_MAIN(WindowSettingsTest)
#include "tst_windowsettings.moc"

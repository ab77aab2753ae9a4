#include "syspaths.h"
#include "systempdir.h"
#include "utilvalues.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <array>

class PlatformTest : public QObject {
    Q_OBJECT

private slots:
    void valuesReadAsUsersExpect()
    {
        std::array<char, 64> text{};
        const auto size = static_cast<std::uint32_t>(text.size());
        UTIL_FormatTime(text.data(), size, 0);
        QCOMPARE(text.data(), "0.000 000");
        UTIL_FormatTime(text.data(), size, 59'999'999);
        QCOMPARE(text.data(), "59.999 999");
        UTIL_FormatTime(text.data(), size, 60'000'000 + 5'007'009);
        QCOMPARE(text.data(), "1:05.007 009");
        UTIL_FormatTime(text.data(), size, 26 * 3'600'000'000ULL + 3 * 60'000'000ULL + 4'000'001);
        QCOMPARE(text.data(), "26:03:04.000 001");
        UTIL_FormatIPv4(text.data(), size, 0xFE01A8C0);
        QCOMPARE(text.data(), "192.168.1.254");
        UTIL_FormatMAC(text.data(), size, {0x00, 0x1B, 0xFF, 0x0A, 0x80, 0x05}, '-');
        QCOMPARE(text.data(), "00-1B-FF-0A-80-05");
    }

    void theTemporaryDirectoryFallsBackToTheUsersOwn()
    {
        const QTemporaryDir home;
        qputenv("HOME", home.path().toUtf8());
        std::array<char, SYS_MAX_PATH> path;
        const QByteArray usable = home.path().toUtf8();
        SYS_TempDirBelow(usable.constData(), path.data(), SYS_MAX_PATH);
        QCOMPARE(path.data(), usable.constData());
        QVERIFY(QDir(home.path()).isEmpty()); // the probe file is gone

        SYS_TempDirBelow("/no/such/directory", path.data(), SYS_MAX_PATH);
        QCOMPARE(QString::fromUtf8(path.data()), home.filePath(".TOLVEN"));
        QVERIFY(QFileInfo(path.data()).isDir());
        qunsetenv("HOME");
        SYS_TempDirBelow("/no/such/directory", path.data(), SYS_MAX_PATH);
        QCOMPARE(path.data(), "");
    }
};

QTEST_GUILESS_MAIN(PlatformTest)
#include "tst_platform.moc"

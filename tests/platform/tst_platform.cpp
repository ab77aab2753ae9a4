#include "sysguard.h"
#include "sysheap.h"
#include "syslineedit.h"
#include "syspaths.h"
#include "syssleep.h"
#include "systempdir.h"
#include "systhreadtools.h"
#include "systime.h"
#include "utilvalues.h"

#include "testsemaphore.h"

#include <QtTest>

#include <chrono>
#include <cstring>
#include <ctime>

#include <sys/resource.h>
#include <unistd.h>

using namespace std::chrono;

namespace {

/// What standard output receives while `action` runs.
template <typename Action> QByteArray Printed(Action action)
{
    char *text = nullptr;
    std::size_t size = 0;
    FILE *const before = std::exchange(stdout, open_memstream(&text, &size));
    action();
    std::fclose(std::exchange(stdout, before));
    const std::unique_ptr<char, decltype(&std::free)> freed(text, &std::free);
    return {text, qsizetype(size)};
}

QByteArray Framed(const QByteArray &title, const QByteArray &text)
{
    return "\n\n*** " + title + " ***\n" + text + "\n*** " + title + " ***\n\n";
}

} // namespace

class PlatformTest : public QObject {
    Q_OBJECT

private slots:
    void clocksCountInTheirUnits()
    {
        const auto start = steady_clock::now();
        QVERIFY(SYS_ElapsedMs() == 0 && SYS_ElapsedUs() == 0); // the first of all calls
        const std::uint64_t firstUs = SYS_ElapsedUs();
        SYS_Sleep(3);
        const std::uint64_t us = SYS_ElapsedUs();
        const std::uint32_t ms = SYS_ElapsedMs();
        const std::uint64_t sinceUs = SYS_ElapsedUsSince(firstUs);
        const std::uint32_t tickMs = SYS_TickMs();
        const auto end = steady_clock::now();
        const auto mostUs = static_cast<std::uint64_t>(ceil<microseconds>(end - start).count());
        QVERIFY(us >= firstUs + 3000 && us <= mostUs);
        QVERIFY(ms >= 3 && ms <= mostUs / 1000 + 1);
        QVERIFY(sinceUs >= us - firstUs && sinceUs <= mostUs);
        const auto behindMs = floor<milliseconds>(end.time_since_epoch()).count() - tickMs;
        QVERIFY(static_cast<std::uint32_t>(behindMs) <= mostUs / 1000);
    }

    void theCalendarTellsThePresent()
    {
        const auto told = [](void (*fill)(SysCalendarTime *)) {
            SysCalendarTime time{1, 1, 1, 1, 1, 1, 0xEEEE};
            fill(nullptr);
            fill(&time);
            std::tm parts{time.second, time.minute, time.hour, time.day, time.month - 1,
                time.year - 1900, 0, 0, time.reserved, 0, nullptr};
            return time.reserved == 0 ? timegm(&parts) : 0;
        };
        qputenv("TZ", "TEST-5:30"); // east of Greenwich
        const std::time_t before = std::time(nullptr);
        const std::time_t utc = told(&SYS_UtcTime);
        const std::time_t local = told(&SYS_LocalTime) - (5 * 3600 + 1800);
        const std::time_t after = std::time(nullptr);
        QVERIFY(before <= utc && utc <= local && local <= after);
    }

    void threadsRunTheirTaskUntilTheyAreCancelled()
    {
        static TestSemaphore started;
        static TestSemaphore ended;
        using Seen = std::pair<SYS_THREAD_ID, qint64>;
        Seen seen;
        SysThreadTask task{
            [](void *context) {
                const auto end = qScopeGuard([] { ended.Release(); });
                *static_cast<Seen *>(context) = {SYS_CurrentThreadId(), SYS_CurrentProcessId()};
                started.Release();
                for (;;)
                    pause();
            },
            &seen};
        std::uint64_t id = 0;
        const SYS_THREAD_ID thread = SYS_CreateFixedThread(&task, &id);
        QVERIFY(started.Acquire(1, 60s));
        QCOMPARE(seen, Seen(thread, QCoreApplication::applicationPid()));
        QVERIFY(id == thread && thread != SYS_CurrentThreadId());
        QCOMPARE(SYS_CancelThread(thread), 0);
        QVERIFY(ended.Acquire(1, 60s));
    }

    void randomBytesAreNoOthers()
    {
        QByteArray one(20, '#');
        QByteArray other = one;
        QCOMPARE(SYS_RandomBytes(one.data(), 16), 16);
        QCOMPARE(SYS_RandomBytes(other.data(), 16), 16);
        QVERIFY(one.first(16) != other.first(16));
        QCOMPARE(one.last(4), "####");
    }

    void lineEditingIsOfferedWhereItsLibraryIs()
    {
        const auto offered = [](const char *place, const char *library) {
            const QTemporaryDir folder;
            const QString command
                = QString("cd %1; mkdir -p %2; cp %3 %2/libedit.so.0; cp %4 program; "
                          "LD_LIBRARY_PATH=%1/system exec %1/program line-editing")
                      .arg(folder.path(), place, library, QCoreApplication::applicationFilePath());
            QProcess process;
            process.start("sh", {"-c", command});
            process.waitForFinished();
            return process.readAllStandardOutput();
        };
        QCOMPARE(offered("ThirdParty", FAKE_LIBEDIT_2), "> 104");
        QCOMPARE(offered("ThirdParty", FAKE_LIBEDIT_1), "none"); // one function is missing
        QCOMPARE(offered("system", FAKE_LIBEDIT_2), "> 104");
    }

    void theTemporaryDirectoryIsProvedWritable()
    {
        const QTemporaryDir home;
        qputenv("HOME", home.path().toUtf8());
        std::array<char, SYS_MAX_PATH> path;
        SYS_TempDir(path.data(), SYS_MAX_PATH);
        QCOMPARE(path.data(), P_tmpdir);
        SYS_TempDirBelow(qPrintable(home.path()), path.data(), SYS_MAX_PATH);
        QCOMPARE(path.data(), home.path());
        QVERIFY(QDir(home.path()).isEmpty()); // the file that proved it is gone
        SYS_TempDirBelow("/no/such/directory", path.data(), SYS_MAX_PATH);
        QCOMPARE(path.data(), home.filePath(".TOLVEN"));
        QVERIFY(QDir(path.data()).exists());
        qunsetenv("HOME");
        SYS_TempDirBelow("/no/such/directory", path.data(), SYS_MAX_PATH);
        QCOMPARE(path.data(), "");
    }

    void blocksAreGivenOnceAndAFailureIsTold()
    {
        void *block = SYS_Alloc(100);
        std::memset(block, 1, 100);
        SYS_FreeAndClear(&block);
        QCOMPARE(block, nullptr);
        SYS_FreeAndClear(&block);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they need address space
        rlimit limit{};
        getrlimit(RLIMIT_AS, &limit);
        const rlimit tight{rlim_t{200} << 20, limit.rlim_max};
        const QByteArray text = Printed([&] {
            setrlimit(RLIMIT_AS, &tight);
            block = SYS_AllocBlock(0x0FFFFFF0);
            setrlimit(RLIMIT_AS, &limit);
        });
        QCOMPARE(block, nullptr);
        QCOMPARE(text, Framed("Error", "Failed to allocate 0x0FFFFFF0 bytes of memory!"));
#endif
    }

    void damagedBlocksAreReported()
    {
        const SysGuardHeader header{33, kSysGuardSignature, {}};
        std::array<std::uint8_t, sizeof header + 33 + 1> block{};
        std::memcpy(block.data(), &header, sizeof header);
        block.back() = kSysGuardByte;
        int result = -2;
        const auto verify = [&] { result = SYS_VerifyBlock(block.data()); };
        QCOMPARE(Printed(verify), "");
        QCOMPARE(result, SYS_VERIFY_OK);
        QCOMPARE(SYS_VerifyBlock(nullptr), SYS_VERIFY_OK);
        block.back() = 0;
        const QByteArray title = " Debug Error"; // the blank belongs to it
        QCOMPARE(
            Printed(verify), Framed(title, "Buffer overflow in memory block. 1 bytes overflowed."));
        QCOMPARE(result, SYS_VERIFY_ERROR);
        block[4] ^= 1; // a wrong signature is told first: the size may be wrong too
        block[3] = 0xFF;
        QCOMPARE(Printed(verify), Framed(title, "Wrong alloc signature in memory block !"));
    }

    void valuesReadAsUsersExpect()
    {
        std::array<char, 64> text{};
        const auto timeOf = [&text](std::uint64_t us) {
            UTIL_FormatTime(text.data(), 64, us);
            return QByteArray(text.data());
        };
        QCOMPARE(timeOf(0), "0.000 000");
        QCOMPARE(timeOf(59'999'999), "59.999 999");
        QCOMPARE(timeOf(65'007'009), "1:05.007 009");
        QCOMPARE(timeOf(26 * 3'600'000'000ULL + 184'000'001), "26:03:04.000 001");
        UTIL_FormatIPv4(text.data(), 64, 0xFE01A8C0);
        QCOMPARE(text.data(), "192.168.1.254");
        UTIL_FormatMAC(text.data(), 64, {0x00, 0x1B, 0xFF, 0x0A, 0x80, 0x05}, '-');
        QCOMPARE(text.data(), "00-1B-FF-0A-80-05");
    }
};

int main(int argc, char **argv)
{
    if (argc == 2 && qstrcmp(argv[1], "line-editing") == 0) {
        const SysLineEdit *const edit = SYS_LineEdit();
        edit ? std::printf("%s%d", edit->ReadLine("> "), edit->AddHistory("h"))
             : std::printf("none");
        return 0;
    }
    const QCoreApplication application(argc, argv);
    PlatformTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_platform.moc"

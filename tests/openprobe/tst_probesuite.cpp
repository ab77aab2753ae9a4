#include "proberig.h"
#include "ranvoapi.h"

#include <QDir>
#include <QElapsedTimer>
#include <QtTest>
#include <atomic>
#include <future>
#include <random>
#include <thread>

/// What every target has to do, whatever the road to it.
class ProbeSuite : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void anyPieceOfARangeReadsTheSame();
    void holesGiveAPrefixOrAFailure();
    void writesOfEveryWidthReadBack();
    void aWriteToNothingFails();
    void theTargetRunsOn();
    void aSelectionIsUsedUpByOneOpen();
    void readsSurviveReopeningByAnotherThread();
    void aLostTargetFailsAtOnceAndCanBeReopened();
    void aFrozenTargetIsGivenUp();
    void closeEndsAnOpen();
    void cyclesLeaveNothingBehind();
    void cleanupTestCase();

private:
    QByteArray OpenError();
    QByteArray Bytes(quint32 address, int count, quint32 width = 0);
    quint32 Counter();

    std::unique_ptr<ProbeRig> m_rig = MakeRig();
    ProbeRig::Layout m_map;
};

// Opens and connects as the program does. Empty on success.
QByteArray ProbeSuite::OpenError()
{
    m_rig->Select();
    const char *error = RANVOARM_Open();
    if (error != nullptr)
        return error;
    char reply[256];
    RANVOARM_ExecCommand("Device = SIM-M4", reply, sizeof reply);
    RANVOARM_SetEndian(0);
    RANVOARM_TIF_Select(1);
    RANVOARM_SetMaxSpeed();
    RANVOARM_Connect();
    return RANVOARM_IsConnected() != 0 ? QByteArray() : "not connected";
}

QByteArray ProbeSuite::Bytes(quint32 address, int count, quint32 width)
{
    QByteArray data(count, '\xEE');
    const int got = RANVOARM_ReadMemEx(address, quint32(count), data.data(), width);
    return got == count ? data : "result " + QByteArray::number(got);
}

quint32 ProbeSuite::Counter()
{
    quint32 value = 0;
    RANVOARM_ReadMemEx(m_map.counter, 4, &value, 4);
    return value;
}

void ProbeSuite::initTestCase()
{
    const QString missing = m_rig->Missing();
    if (!missing.isEmpty()) {
        printf("WHOLE TEST SKIPPED: %s\n", qPrintable(missing));
        fflush(stdout);
        QSKIP(qPrintable(missing));
    }
    QVERIFY(m_rig->Start());
    m_map = m_rig->Map();
}

void ProbeSuite::init()
{
    QCOMPARE(OpenError(), "");
    QVERIFY(m_rig->TargetRuns());
}

void ProbeSuite::cleanup()
{
    RANVOARM_Close();
    QCOMPARE(RANVOARM_IsConnected(), 0);
    QTRY_VERIFY(m_rig->TargetRuns());
}

void ProbeSuite::cleanupTestCase()
{
    RANVOARM_Close();
}

void ProbeSuite::anyPieceOfARangeReadsTheSame()
{
    QByteArray whole(1024, '\0');
    for (int i = 0; i < whole.size(); ++i)
        whole[i] = char(i * 7 + i / 256);
    QCOMPARE(RANVOARM_WriteMemEx(m_map.quiet, 1024, whole.constData(), 0), 1024);
    QCOMPARE(Bytes(m_map.quiet, 1024), whole);
    std::mt19937 random(QRandomGenerator::global()->generate());
    for (int round = 0; round < 200; ++round) {
        const int offset = int(random() % 1024);
        const int count = 1 + int(random() % unsigned(1024 - offset));
        const quint32 width = 1U << random() % 4;
        QCOMPARE(Bytes(m_map.quiet + quint32(offset), count, width == 8 ? 0 : width),
            whole.mid(offset, count));
    }
    QCOMPARE(Bytes(m_map.big, 65536).size(), 65536);
    QCOMPARE(RANVOARM_ReadMemEx(m_map.quiet, 4, whole.data(), 3), -1); // no such width
    QCOMPARE(RANVOARM_ReadMemEx(m_map.quiet, 0, whole.data(), 0), 0);
}

void ProbeSuite::holesGiveAPrefixOrAFailure()
{
    const QByteArray edge = Bytes(m_map.holeBehind, 64);
    QCOMPARE(edge.size(), 64);
    QByteArray data(640, '\0');
    for (const int start : {0, 1, 3, 63}) {
        const int got = RANVOARM_ReadMemEx(m_map.holeBehind + quint32(start), 128, data.data(), 0);
        QCOMPARE(got, 64 - start);
        QCOMPARE(data.left(got), edge.mid(start));
    }
    QCOMPARE(RANVOARM_ReadMemEx(m_map.holeInFront, 128, data.data(), 0), -1);
    QCOMPARE(RANVOARM_ReadMemEx(m_map.holeInFront + 63, 2, data.data(), 0), -1);
    QCOMPARE(RANVOARM_ReadMemEx(m_map.holeInFront, 64, data.data(), 0), 0);
    QCOMPARE(RANVOARM_ReadMemEx(m_map.holeInFront + 64, 64, data.data(), 0), 64);
    for (const quint32 width : {0U, 1U, 2U, 4U})
        QCOMPARE(RANVOARM_ReadMemEx(m_map.unmapped + 1, 640, data.data(), width), 0);
    QCOMPARE(RANVOARM_IsConnected(), 1); // a hole is no reason to give the target up
}

void ProbeSuite::writesOfEveryWidthReadBack()
{
    for (const quint32 width : {0U, 1U, 2U, 4U}) {
        for (const quint32 offset : {0U, 1U, 2U, 3U}) {
            QVERIFY(RANVOARM_WriteMemEx(m_map.quiet, 16, QByteArray(16, '.').constData(), 0) == 16);
            const QByteArray text = "abcdefghi";
            QCOMPARE(RANVOARM_WriteMemEx(m_map.quiet + offset, 9, text.constData(), width), 9);
            QCOMPARE(Bytes(m_map.quiet, 16),
                (QByteArray(int(offset), '.') + text).leftJustified(16, '.'));
        }
    }
    QByteArray block(3000, '\0');
    for (int i = 0; i < block.size(); ++i)
        block[i] = char(i * 11);
    QCOMPARE(RANVOARM_WriteMemEx(m_map.big + 5, 3000, block.constData(), 0), 3000);
    QCOMPARE(Bytes(m_map.big + 5, 3000), block);
}

void ProbeSuite::aWriteToNothingFails()
{
    const quint32 value = 0x5A5A5A5A;
    QCOMPARE(RANVOARM_WriteMemEx(m_map.unmapped, 4, &value, 0), -1);
    QCOMPARE(RANVOARM_WriteMemEx(0xFFFFFFFE, 4, &value, 0), -1);
    const QByteArray edge = Bytes(m_map.holeBehind, 64);
    QCOMPARE(RANVOARM_WriteMemEx(m_map.holeBehind + 62, 4, &value, 0), -1);
    QCOMPARE(RANVOARM_IsConnected(), 1);
    QCOMPARE(Bytes(m_map.holeBehind, 62), edge.left(62));
}

void ProbeSuite::theTargetRunsOn()
{
    const quint32 first = Counter();
    QTRY_VERIFY(Counter() != first);
    for (int i = 0; i < 20; ++i)
        QCOMPARE(Bytes(m_map.big, 640).size(), 640);
    RANVOARM_Close();
    QTRY_VERIFY(m_rig->TargetRuns());
    QCOMPARE(OpenError(), "");
    const quint32 second = Counter();
    QTRY_VERIFY(Counter() != second);
}

void ProbeSuite::aSelectionIsUsedUpByOneOpen()
{
    RANVOARM_Close();
    RANVOARM_SelectIP("no selector!", 0);
    QCOMPARE(RANVOARM_Open(),
        "\"no selector!\" is not a selector: use HOST[:PORT], gdb:, tcl:, pid:, sim.");
    QVERIFY(RANVOARM_Open() == nullptr); // the default target
    RANVOARM_Connect();
    QCOMPARE(Bytes(0, 16), "SIMULATED TARGET");
    QVERIFY(RANVOARM_EMU_SelectByUSBSN(28100002) < 0);
    QVERIFY(RANVOARM_EMU_SelectByUSBSN(28100001) >= 0);
}

void ProbeSuite::readsSurviveReopeningByAnotherThread()
{
    const QByteArray expected = Bytes(m_map.quiet, 640);
    std::atomic<bool> stop = false;
    std::atomic<int> good = 0;
    std::atomic<int> wrong = 0;
    std::thread reader([&] {
        while (!stop) {
            const QByteArray data = Bytes(m_map.quiet, 640);
            good += data == expected ? 1 : 0;
            wrong += data.size() == 640 && data != expected ? 1 : 0;
        }
    });
    std::thread asker([&] {
        while (!stop)
            (void)RANVOARM_IsConnected();
    });
    QByteArray error;
    for (int cycle = 0; cycle < 25 && error.isEmpty(); ++cycle) {
        if (cycle % 2 == 0)
            RANVOARM_Close();
        error = OpenError();
        const int before = good;
        QDeadlineTimer limit(20'000);
        while (good < before + 3 && !limit.hasExpired())
            std::this_thread::yield();
        if (good < before + 3)
            error = "no read succeeds any more";
    }
    stop = true;
    reader.join();
    asker.join();
    QCOMPARE(error, "");
    QCOMPARE(wrong, 0);
}

void ProbeSuite::aLostTargetFailsAtOnceAndCanBeReopened()
{
    QByteArray data(640, '\0');
    m_rig->Kill();
    QTRY_COMPARE(RANVOARM_ReadMemEx(m_map.quiet, 640, data.data(), 0), -1);
    QTRY_COMPARE(RANVOARM_IsConnected(), 0);
    for (int i = 0; i < 1161; ++i) // what the window makes of one failing page
        QCOMPARE(RANVOARM_ReadMemEx(m_map.quiet, 4, data.data(), 4), -1);
    QCOMPARE(RANVOARM_WriteMemEx(m_map.quiet, 4, data.constData(), 4), -1);
    QVERIFY(m_rig->Start());
    QCOMPARE(OpenError(), ""); // without a Close: nobody calls one after a loss
    QCOMPARE(Bytes(m_map.quiet, 640).size(), 640);
}

void ProbeSuite::aFrozenTargetIsGivenUp()
{
    if (!m_rig->Freeze())
        QSKIP("there is nothing to freeze");
    QByteArray data(640, '\0');
    const int result = RANVOARM_ReadMemEx(m_map.quiet, 640, data.data(), 0); // would wait for ever
    const int connected = RANVOARM_IsConnected();
    for (int i = 0; i < 1161; ++i)
        QCOMPARE(RANVOARM_ReadMemEx(m_map.quiet, 4, data.data(), 4), -1);
    const QByteArray error = OpenError();
    m_rig->Thaw();
    QCOMPARE(result, -1);
    QCOMPARE(connected, 0);
    QVERIFY(!error.isEmpty());
    QTRY_COMPARE(OpenError(), "");
    QCOMPARE(Bytes(m_map.quiet, 640).size(), 640);
}

void ProbeSuite::closeEndsAnOpen()
{
    RANVOARM_Close();
    if (!m_rig->Freeze())
        QSKIP("there is nothing to freeze");
    QByteArray error = "still open";
    for (int attempt = 0; attempt < 50 && error != "Operation canceled"; ++attempt) {
        std::atomic<bool> entered = false;
        auto opening = std::async(std::launch::async, [&] {
            m_rig->Select();
            entered = true;
            const char *text = RANVOARM_Open();
            return QByteArray(text != nullptr ? text : "");
        });
        while (!entered)
            std::this_thread::yield();
        RANVOARM_Close(); // may come too early; then it cancels nothing and the next round tries
        while (opening.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready)
            RANVOARM_Close();
        error = opening.get();
    }
    m_rig->Thaw();
    QCOMPARE(error, "Operation canceled");
    if (m_rig->StopsWhenAbandoned())
        QTRY_COMPARE(OpenError(), "");
}

static int Entries(const char *directory)
{
    return int(
        QDir(directory).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size());
}

void ProbeSuite::cyclesLeaveNothingBehind()
{
    RANVOARM_Close();
    const int descriptors = Entries("/proc/self/fd");
    const int threads = Entries("/proc/self/task");
    for (int cycle = 0; cycle < m_rig->Cycles(); ++cycle) {
        QCOMPARE(OpenError(), "");
        QCOMPARE(Bytes(m_map.quiet, 64).size(), 64);
        if (cycle % 3 != 0)
            RANVOARM_Close();
    }
    RANVOARM_Close();
    QCOMPARE(Entries("/proc/self/fd"), descriptors);
    QCOMPARE(Entries("/proc/self/task"), threads);
}

QTEST_GUILESS_MAIN(ProbeSuite)
#include "tst_probesuite.moc"

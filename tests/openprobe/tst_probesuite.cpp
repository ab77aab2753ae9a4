#include "probetargets.h"
#include "randomseed.h"
#include "ranvoapi.h"

#include <QtEndian>
#include <QtTest>
#include <atomic>
#include <csignal>
#include <future>

constexpr int kLimitMs = 60'000; // only a failure waits that long
constexpr quint32 kWidths[] = {0, 1, 2, 4};

static int WriteBytes(quint32 address, const QByteArray &data, quint32 width = 0)
{
    return RANVOARM_WriteMemEx(address, quint32(data.size()), data.constData(), width);
}

/// The simulated target. A new connection plugs in a new one; a kill uses the register that unplugs
/// the probe at the next read.
class SimulatedTarget : public ProbeTarget {
public:
    SimulatedTarget()
    {
        selector = "sim";
        places.coreId = 0x410FC241;
    }
    bool Start() override { return true; }
    void Kill() override { WriteBytes(0x50004000, QByteArray("\1\0\0\0", 4)); }
};

// The kind is the last part of the program's name.
static std::unique_ptr<ProbeTarget> MakeTarget()
{
    const QString kind = QCoreApplication::applicationName().section('_', -1);
    if (kind == "gdbserver")
        return std::make_unique<GdbServerTarget>();
    if (kind == "tcl")
        return std::make_unique<OpenOcdTarget>();
    if (kind == "pid")
        return std::make_unique<ProcessTarget>();
    if (kind == "sim")
        return std::make_unique<SimulatedTarget>();
    return std::make_unique<QemuTarget>(kind);
}

static QByteArray Bytes(quint32 address, int count, quint32 width = 0)
{
    QByteArray data(count, '\xEE');
    const int got = RANVOARM_ReadMemEx(address, quint32(count), data.data(), width);
    return got == count ? data : "result " + QByteArray::number(got);
}

// Gives the peer more time, for a busy machine. Takes effect at the next Open.
static void BePatient(bool patient)
{
    qputenv("OPENPROBE_PATIENCE", patient ? "60" : "1");
}

/// The behaviour that all kinds of targets have in common.
class ProbeSuite : public QObject {
    Q_OBJECT
private slots:
    void initTestCase()
    {
        BePatient(true);
        const QString missing = m_target->Missing();
        if (!missing.isEmpty()) {
            printf("WHOLE TEST SKIPPED: %s\n", qPrintable(missing));
            fflush(stdout);
            QSKIP(qPrintable(missing));
        }
        QVERIFY(m_target->Start());
    }

    void init()
    {
        QCOMPARE(OpenError(), "");
        QTRY_VERIFY_WITH_TIMEOUT(m_target->Runs(), kLimitMs);
    }

    void cleanup()
    {
        Thaw(); // also when a test has failed
        RANVOARM_Close();
        QCOMPARE(RANVOARM_IsConnected(), 0);
        QTRY_VERIFY_WITH_TIMEOUT(m_target->Runs(), kLimitMs);
    }

    void anyPieceOfARangeReadsTheSame()
    {
        QByteArray whole(3000, '\0');
        for (int i = 0; i < whole.size(); ++i)
            whole[i] = char(i * 7 + i / 256);
        QCOMPARE(WriteBytes(m_at.quiet + 1, whole), 3000);
        auto random = SeededGenerator();
        for (int round = 0; round < 100; ++round) {
            const int offset = Pick(random, 0, 2999);
            const int count = Pick(random, 1, std::min(3000 - offset, round % 8 == 0 ? 3000 : 100));
            const quint32 width = kWidths[random() % 4];
            QCOMPARE(
                Bytes(m_at.quiet + 1 + quint32(offset), count, width), whole.mid(offset, count));
        }
        QCOMPARE(Bytes(m_at.big, 65536).size(), 65536);
        QCOMPARE(Bytes(m_at.quiet, 4, 3), "result -1"); // no such width
        QCOMPARE(Bytes(m_at.quiet, 0), "");
    }

    void holesGiveAPrefixOrAFailure()
    {
        const QByteArray edge = Bytes(m_at.holeBehind, 64);
        QCOMPARE(edge.size(), 64);
        for (const int start : {0, 1, 3, 63}) {
            QByteArray data(128, '\0');
            const quint32 address = m_at.holeBehind + quint32(start);
            data.truncate(RANVOARM_ReadMemEx(address, 128, data.data(), 0));
            QCOMPARE(data, edge.mid(start));
        }
        QCOMPARE(Bytes(m_at.holeInFront, 128), "result -1");
        QCOMPARE(Bytes(m_at.holeInFront + 63, 2), "result -1");
        QCOMPARE(Bytes(m_at.holeInFront, 64), "result 0");
        QCOMPARE(Bytes(m_at.holeInFront + 64, 64).size(), 64);
        for (const quint32 width : kWidths)
            QCOMPARE(Bytes(m_at.unmapped + 1, 640, width), "result 0");
        QCOMPARE(RANVOARM_IsConnected(), 1); // a hole is no reason to give the target up
    }

    void writesArriveWholeOrFail()
    {
        for (const quint32 width : kWidths) {
            for (const int offset : {0, 1, 2, 3}) {
                QCOMPARE(WriteBytes(m_at.quiet, QByteArray(16, '.')), 16);
                QCOMPARE(WriteBytes(m_at.quiet + quint32(offset), "abcdefghi", width), 9);
                QCOMPARE(Bytes(m_at.quiet, 16),
                    (QByteArray(offset, '.') + "abcdefghi").leftJustified(16, '.'));
            }
        }
        QCOMPARE(WriteBytes(m_at.unmapped, "ZZZZ"), -1);
        QCOMPARE(WriteBytes(0xFFFFFFFE, "ZZZZ"), -1);
        const QByteArray edge = Bytes(m_at.holeBehind, 64);
        QCOMPARE(WriteBytes(m_at.holeBehind + 62, "ZZZZ"), -1);
        QCOMPARE(RANVOARM_IsConnected(), 1);
        QCOMPARE(Bytes(m_at.holeBehind, 62), edge.left(62));
    }

    void theTargetTellsItsCoreAndRunsOn()
    {
        QByteArray record(RANVO_ID_DATA_SIZE, '\0');
        RANVOARM_GetIdData(record.data());
        const QByteArray coreId = record.mid(RANVO_ID_DATA_CORE_ID_OFFSET, 4);
        QCOMPARE(qFromLittleEndian<quint32>(coreId.data()), m_at.coreId);
        for (int round = 0; round < 2; ++round) {
            const QByteArray first = Bytes(m_at.counter, 4, 4);
            QTRY_VERIFY_WITH_TIMEOUT(Bytes(m_at.counter, 4, 4) != first, kLimitMs);
            for (int i = 0; i < 20; ++i)
                QCOMPARE(Bytes(m_at.big, 640).size(), 640);
            RANVOARM_Close();
            QTRY_VERIFY_WITH_TIMEOUT(m_target->Runs(), kLimitMs);
            QCOMPARE(OpenError(), "");
        }
    }

    void aSelectionIsUsedUpByOneOpen()
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

    void readsSurviveReopeningByAnotherThread()
    {
        const QByteArray expected = Bytes(m_at.quiet, 640);
        std::atomic<bool> stop = false;
        std::atomic<int> good = 0;
        std::atomic<int> wrong = 0;
        const auto reader = std::async(std::launch::async, [&] {
            while (!stop) {
                const QByteArray data = Bytes(m_at.quiet, 640);
                if (data.size() == 640)
                    ++(data == expected ? good : wrong);
            }
        });
        const auto asker = std::async(std::launch::async, [&] {
            while (!stop)
                (void)RANVOARM_IsConnected();
        });
        QByteArray error;
        for (int cycle = 0; cycle < 25 && error.isEmpty(); ++cycle) {
            if (cycle % 2 == 0)
                RANVOARM_Close();
            error = OpenError();
            const int before = good;
            if (!QTest::qWaitFor([&] { return good >= before + 3; }, kLimitMs))
                error = "no read succeeds any more";
        }
        stop = true;
        reader.wait();
        asker.wait();
        QCOMPARE(error, "");
        QCOMPARE(wrong, 0);
    }

    void aLostTargetFailsAtOnceAndCanBeReopened_data()
    {
        QTest::addColumn<bool>("freezes");
        QTest::newRow("gone") << false;
        if (m_target->answerer != nullptr)
            QTest::newRow("frozen") << true;
    }

    void aLostTargetFailsAtOnceAndCanBeReopened()
    {
        QFETCH(bool, freezes);
        BePatient(!freezes);
        QTRY_COMPARE_WITH_TIMEOUT(OpenError(), "", kLimitMs);
        freezes ? m_target->answerer->Signal(SIGSTOP) : m_target->Kill();
        QTRY_COMPARE_WITH_TIMEOUT(Bytes(m_at.quiet, 640), "result -1", kLimitMs);
        QTRY_COMPARE_WITH_TIMEOUT(RANVOARM_IsConnected(), 0, kLimitMs);
        for (int i = 0; i < 1161; ++i) // as many as the window makes for one failing page
            QCOMPARE(Bytes(m_at.quiet, 4, 4), "result -1");
        QCOMPARE(WriteBytes(m_at.quiet, "ZZZZ"), -1);
        QVERIFY(freezes ? !OpenError().isEmpty() : m_target->Start());
        Thaw();
        QTRY_COMPARE_WITH_TIMEOUT(OpenError(), "", kLimitMs); // without a Close after the loss
        QCOMPARE(Bytes(m_at.quiet, 640).size(), 640);
    }

    void closeEndsAnOpen()
    {
        RANVOARM_Close();
        if (m_target->answerer == nullptr)
            QSKIP("there is nothing to freeze");
        m_target->answerer->Signal(SIGSTOP);
        auto opening = std::async(std::launch::async, [this] { return OpenError(); });
        while (opening.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready)
            RANVOARM_Close(); // one that comes too early cancels nothing
        QCOMPARE(opening.get(), "Operation canceled");
        Thaw();
        if (m_target->stopsWhenAbandoned)
            QTRY_COMPARE_WITH_TIMEOUT(OpenError(), "", kLimitMs);
    }

    void cyclesLeaveNothingBehind()
    {
        const auto holdings = [] { // descriptors and threads
            const QDir::Filters all = QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot;
            return QPair(QDir("/proc/self/fd").entryList(all).size(),
                QDir("/proc/self/task").entryList(all).size());
        };
        RANVOARM_Close();
        const auto before = holdings();
        for (int cycle = 1; cycle <= 30; ++cycle) {
            QCOMPARE(OpenError(), "");
            QCOMPARE(Bytes(m_at.quiet, 64).size(), 64);
            if (cycle % 3 != 0)
                RANVOARM_Close();
        }
        RANVOARM_Close();
        QCOMPARE(holdings(), before);
    }

private:
    void Thaw()
    {
        BePatient(true);
        if (m_target->answerer != nullptr)
            m_target->answerer->Signal(SIGCONT);
    }

    // Opens and connects as the program does. Empty on success.
    QByteArray OpenError()
    {
        RANVOARM_SelectIP(m_target->selector, 0);
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

    std::unique_ptr<ProbeTarget> m_target = MakeTarget();
    const TargetPlaces m_at = m_target->places;
};

QTEST_GUILESS_MAIN(ProbeSuite)
#include "tst_probesuite.moc"

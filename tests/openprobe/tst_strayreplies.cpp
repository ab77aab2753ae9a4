#include "backendtools.h"
#include "fakeservers.h"
#include "gdbbackend.h"
#include "randomseed.h"
#include "tclbackend.h"

#include <QtTest>

using namespace OpenProbe;

/// A line on which replies come twice, late, early, out of order, merged and in single bytes.
class UnrulyLine {
public:
    explicit UnrulyLine(std::mt19937_64 &random)
        : m_random(random)
    {
    }

    /// @param moreAsked  whether the client waits for the next reply as well: they may be swapped
    bool Deliver(const ScriptedPeer &peer, const QByteArray &reply, bool moreAsked)
    {
        ++replies;
        QByteArrayList pieces = std::exchange(m_before, {});
        const QByteArrayList behind = std::exchange(m_behind, {});
        const QByteArray former = m_former[m_random() % std::size(m_former)];
        const QByteArrayList odd[]
            = {{reply, reply}, {former, reply}, {reply, former}, {reply.first(1), reply.mid(1)}};
        const auto kind = m_random() % 200;
        if (kind < std::size(odd))
            pieces += odd[kind];
        else if (kind != 4 || !moreAsked)
            pieces += reply;
        if ((kind == 4 && moreAsked) || kind == 5) // late, or once more, behind the next one
            m_behind += reply;
        if (kind == 6) // once more, in front of the next one
            m_before += reply;
        pieces += behind;
        m_former[m_random() % std::size(m_former)] = reply;
        if (m_random() % 2 == 0)
            pieces = {pieces.join()};
        return std::ranges::all_of(
            pieces, [&](const QByteArray &piece) { return piece.isEmpty() || peer.Send(piece); });
    }

    /// A new connection: nothing of the earlier ones can come over it.
    void Begin() { m_before = m_behind = {}, std::ranges::fill(m_former, QByteArray()); }

    std::atomic<int> replies = 0;

private:
    std::mt19937_64 &m_random;
    QByteArrayList m_before;
    QByteArrayList m_behind;
    QByteArray m_former[8];
};

/// Reads and writes until so many replies have gone over the line, reopening after each loss.
template <typename MakeBackend, typename Memory>
static void Run(const UnrulyLine &line, int replies, MakeBackend makeBackend, Memory memory)
{
    auto random = SeededGenerator();
    int good = 0;
    int losses = 0;
    while (line.replies < replies) {
        const auto backend = makeBackend();
        if (OpenError(*backend).isEmpty()) {
            while (backend->Alive() && line.replies < replies) {
                const quint32 address = 0x1000 + quint32(Pick(random, 0, 0xF00));
                const int count = Pick(random, 1, 80);
                const quint32 width = std::array{0U, 0U, 2U, 4U}[random() % 4];
                if (random() % 8 == 0) {
                    const QByteArray data(count, char(random()));
                    (void)Write(*backend, address, data, width);
                    continue;
                }
                const QByteArray bytes = Bytes(*backend, address, count, width);
                if (bytes == "result -1")
                    break;
                QCOMPARE(bytes.toHex(), memory(address, count).toHex());
                ++good;
            }
        }
        backend->Close();
        ++losses;
    }
    QVERIFY2(good > replies / 50 && losses > replies / 500, // good and bad lines both occurred
        qPrintable(QString("%1 reads, %2 losses").arg(good).arg(losses)));
}

/// No request is ever answered with another one's bytes.
class StrayRepliesTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { SetPatience(60); }
    void aHaltedStub() { CheckStub({}); }
    void aStubThatAnswersInRun() { CheckStub({.stopAnswer = "S00"}); }
    void aStubThatIsStoppedForEachTransfer() { CheckStub({.ranBefore = true}); }
    void anEmulatorThatIsAskedInOneStop() { CheckStub({.ranBefore = true, .emulator = true}); }

    void aServer()
    {
        auto random = SeededGenerator();
        UnrulyLine line(random);
        ScriptedPeer server([&](ScriptedPeer &self) {
            line.Begin();
            ServeTcl(self, PoliteTclAnswer, [&](ScriptedPeer &peer, const QByteArray &answer) {
                return line.Deliver(peer, answer, false);
            });
        });
        Run(
            line, 70'000, [&] { return std::make_unique<TclBackend>(At(server.Port())); },
            [](quint32 address, int count) {
                QByteArray bytes;
                for (int i = 0; i < count; ++i)
                    bytes += char(TclMemory(address + quint32(i)));
                return bytes;
            });
    }

private:
    static void CheckStub(FakeStub::Manners manners)
    {
        auto random = SeededGenerator();
        UnrulyLine line(random);
        const FakeStub *current = nullptr;
        manners.features = "PacketSize=40";
        manners.deliver = [&](const ScriptedPeer &peer, auto &, auto &reply) {
            return line.Deliver(peer, reply, current->MoreAsked());
        };
        FakeStub stub(manners);
        current = &stub;
        for (char &byte : stub.m_memory)
            byte = char(random());
        Run(
            line, 30'000, [&] { return std::make_unique<GdbBackend>(At(stub.Port())); },
            [&](quint32 address, int count) {
                return stub.m_memory.mid(int(address) - 0x1000, count);
            });
    }
};

QTEST_GUILESS_MAIN(StrayRepliesTest)
#include "tst_strayreplies.moc"

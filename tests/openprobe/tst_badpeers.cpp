#include "backendtools.h"
#include "fakestub.h"
#include "faketclserver.h"
#include "peerprocess.h"
#include "probelibrary.h"

#include <QtTest>
#include <future>
#include <unistd.h>

using namespace OpenProbe;

/// What opening a peer fails with, without the port.
static QString OpenErrorAt(TargetKind kind, quint16 port)
{
    const auto backend = MakeBackend(At(port, kind));
    const QString text = OpenError(*backend);
    backend->Close();
    return QString(text).remove(QString(":%1").arg(port));
}

/// Peers that keep to no protocol, at the start and in the middle, on both kinds of connection.
class BadPeersTest : public QObject {
    Q_OBJECT
private slots:
    void aPeerThatIsNoneGetsAText()
    {
        SetPatience(1);
        const std::map<QString, QByteArray> peers = {{"nothing", ""},
            {"another protocol", "HTTP/1.1 400 Bad Request\r\n\r\n"},
            {"endless noise", QByteArray(4096, 'x')},
            {"endless packet", "$" + QByteArray(4096, 'x')},
            {"endless acknowledgements", QByteArray(4096, '+')},
            {"endless stops", QByteArray("$S05#b8").repeated(100)}, {"half a packet", "+$PacketSi"},
            {"too many answers", "Open On-Chip Debugger\x1amore\x1a"}};
        const auto textOf = [](TargetKind kind, const QString &name, const QByteArray &says) {
            const ScriptedPeer peer([&](const ScriptedPeer &self) {
                for (bool more = self.Send(says); more && name.startsWith("endless");)
                    more = self.Send(says.right(4096));
                self.AwaitClient();
            });
            return name + ": " + OpenErrorAt(kind, peer.Port());
        };
        std::vector<std::future<QString>> texts; // all at once: each waits until its time is over
        QStringList expected;
        for (const auto &[name, says] : peers) {
            const QString here
                = name + ": 127.0.0.1 accepted the connection but does not answer as ";
            texts.push_back(std::async(std::launch::async, textOf, TargetKind::Gdb, name, says));
            expected += here + "a debug stub (another debugger may hold it).";
            texts.push_back(std::async(std::launch::async, textOf, TargetKind::Tcl, name, says));
            expected += here + "OpenOCD's Tcl server. For a debug stub use gdb:HOST:PORT.";
        }
        for (std::size_t i = 0; i < texts.size(); ++i)
            QCOMPARE(texts[i].get(), expected[qsizetype(i)]);
    }

    void aServerInTroubleGetsAText()
    {
        SetPatience(60); // it answers, if late
        const auto textOf = [](const QByteArray &asked, const QByteArray &answer) {
            ScriptedPeer peer([&](ScriptedPeer &self) {
                ServeTcl(self, [&](const QByteArray &command) {
                    const bool isDead = asked == "curstate" && command.startsWith("read");
                    return command.contains(asked) || isDead ? answer : PoliteTclAnswer(command);
                });
            });
            return OpenErrorAt(TargetKind::Tcl, peer.Port());
        };
        QVERIFY(textOf("target names", "\x1a").startsWith("OpenOCD at 127.0.0.1 has no target. "));
        QVERIFY(textOf("curstate", "unknown\x1a")
                    .startsWith("OpenOCD at 127.0.0.1 does not reach its target (cpu). "));
        for (const char *const last : {"target names", "curstate", "-endian", "read_memory 0xe0"})
            QVERIFY2(textOf(last, {}).startsWith("127.0.0.1 gave up while its target was asked. "),
                last);
    }

    void aPlaceWithoutPeersGetsAText()
    {
        SetPatience(1);
        const auto textOf = [](const QString &selector) {
            return OpenError(*MakeBackend(ParseSelector(selector.toStdString(), 0)));
        };
        const QString here = QString("127.0.0.1:%1").arg(PeerProcess::FreePort());
        const QString refused = "Nothing accepts a connection at " + here + " (refused). Start ";
        QVERIFY(textOf(here).startsWith(refused + "the target, e.g. qemu-system-arm ... -gdb tcp"));
        QVERIFY(textOf("tcl:" + here).startsWith(refused + "OpenOCD for your board, "));
        QVERIFY(textOf("none.invalid").startsWith("No address for host \"none.invalid\". Check "));
        QVERIFY(textOf("255.255.255.255:9").startsWith("255.255.255.255:9 cannot be reached ("));
        // A host that takes no notice of an attempt to connect: its queue of clients is full.
        quint16 port = 0;
        const int listener = ListenOnLoopback(&port, 0);
        const int first = ConnectToLoopback(port);
        const QString text = textOf(QString("127.0.0.1:%1").arg(port));
        close(first);
        close(listener);
        QVERIFY(text.startsWith(QString("127.0.0.1:%1 does not answer within 2 s. ").arg(port)));
    }

    void aPeerThatTurnsBadIsGivenUp_data()
    {
        QTest::addColumn<QByteArray>("spoiled");
        QTest::addColumn<char>("peer"); // a stub, or one that hangs up, or a server
        QTest::addColumn<bool>("lost");
        const auto row = [](const char *name, const QByteArray &spoiled, char peer = 's',
                             bool lost = true) { QTest::newRow(name) << spoiled << peer << lost; };
        row("silence", "+");
        row("hangs up", "$00", 'h');
        row("half a reply", "$0011");
        row("wrong checksums", QByteArray("$0011#00").repeated(5));
        row("endless", QByteArray(40'000, 'x'));
        row("longer than any packet", "$" + QByteArray(40'000, '0') + "#00");
        row("the target has ended", "$W00#b7", 'h');
        row("an error", "$E14#aa", 's', false);
        // Each of these may answer another request, and then so may all that follows.
        row("more bytes than asked for", "$001122334455#5e");
        row("no hex digits", "$zzzzzzzz#d0");
        row("an empty reply", "$#00");
        row("an answer to a write", "$OK#9a");
        row("two answers", "$11#62$22#64");
        row("an answer too many, cut off", "$11#62$22#6");
        row("server: silence", "", 't');
        row("server: half an answer", "0x1", 't');
        row("server: never ends", QByteArray(200'000, '0'), 't');
        row("server: one answer too many", "0x1\x1a 0x2\x1a", 't');
        row("server: an error", "read_memory: failed to read memory\x1a", 't', false);
        row("server: too many numbers", "0x1 0x2\x1a", 't', false);
        row("server: an empty answer", "\x1a", 't', false);
    }

    void aPeerThatTurnsBadIsGivenUp()
    {
        SetPatience(60);
        QFETCH(QByteArray, spoiled);
        QFETCH(char, peer);
        QFETCH(bool, lost);
        FakeStub::Manners manners;
        manners.deliver = [&](const ScriptedPeer &self, auto &request, auto &reply) {
            const bool isSpoiled = request.startsWith("m1");
            return self.Send(isSpoiled ? spoiled : reply) && !(isSpoiled && peer == 'h');
        };
        FakeStub stub(manners);
        ScriptedPeer server([&](ScriptedPeer &self) {
            ServeTcl(self, [&](const QByteArray &command) {
                return command.startsWith("read_memory 0x1000 ") ? spoiled
                                                                 : PoliteTclAnswer(command);
            });
        });
        const auto backend
            = MakeBackend(peer == 't' ? At(server.Port(), TargetKind::Tcl) : At(stub.Port()));
        QCOMPARE(OpenError(*backend), QString());
        if (lost)
            SetPatience(1); // nothing more will come
        QCOMPARE(Bytes(*backend, 0x1000, 1), lost ? "result -1" : "result 0");
        QCOMPARE(backend->Alive(), !lost);
        backend->Close();
    }
};

QTEST_GUILESS_MAIN(BadPeersTest)
#include "tst_badpeers.moc"

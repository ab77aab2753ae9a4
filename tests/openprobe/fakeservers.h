#pragma once

#include "scriptedpeer.h"

#include <QStringList>
#include <atomic>
#include <mutex>

/// A small debug stub with 4 KiB of memory at 0x1000; its manners say how it misbehaves. It notes
/// every request that breaks the protocol's rules for a stub which stops its target.
class FakeStub {
public:
    struct Manners {
        QByteArray features = "PacketSize=1000";
        QByteArray stopAnswer = "S05"; ///< to "?"; S05: halted, S00: running and answering
        bool ranBefore = false;        ///< attaching stopped it: an unasked stop comes first
        bool emulator = false;         ///< takes several requests in one piece
        QByteArray interruptAnswer = "T02thread:01;";
        int printedPackets = 0; ///< so many packets of text come with each "c"
        int badChecksums = 0;   ///< so many replies are damaged at first sending
        int refusals = 0;       ///< so many requests are refused with "-" first
        /// Sends the reply to a request, or something else instead of it;
        /// false: hangs up. Empty: as it is.
        std::function<bool(ScriptedPeer &peer, const QByteArray &request, const QByteArray &reply)>
            deliver = {};
    };

    /// The packet with this payload, as it goes over the line.
    static QByteArray Packet(const QByteArray &payload);

    explicit FakeStub(Manners manners);

    quint16 Port() const { return m_peer->Port(); }
    /// The requests in their order; offences, in between, begin with "OFFENCE".
    QStringList Requests();
    bool Runs() const { return m_runs; }
    /// For `deliver`: whether the client waits for the next reply as well.
    bool MoreAsked() const { return m_input.count('#') > 1; } // "continue" has no reply
    /// Connections that have come to their end: nothing more will be asked in them.
    int Served() const { return m_served; }

    static constexpr quint32 kMemory = 0x1000;
    QByteArray m_memory; ///< not while a client is connected

private:
    void Serve(ScriptedPeer &peer);
    QByteArray NextRequest(ScriptedPeer &peer);
    QByteArray Answer(const QByteArray &request);
    void Note(const QByteArray &what);

    Manners m_manners;
    QByteArray m_input;
    QByteArray m_lastPacket;
    std::atomic<bool> m_runs;
    std::atomic<int> m_served = 0;
    std::mutex m_mutex;
    QStringList m_requests;
    std::unique_ptr<ScriptedPeer> m_peer; // last: its thread uses all of the above
};

/// What OpenOCD's Tcl server with one target answers to a command, complete with the end mark; null
/// to hang up.
using TclAnswer = std::function<QByteArray(const QByteArray &command)>;

/// The answers of a well-behaved server whose memory holds the low byte of TclMemory at each place.
QByteArray PoliteTclAnswer(const QByteArray &command);
quint8 TclMemory(quint32 address);

/// Sends a server's answer to the client, or something else instead of it.
using TclDelivery = std::function<bool(ScriptedPeer &peer, const QByteArray &answer)>;

/// Serves one connection: takes the numbered requests apart and puts the numbers before the
/// answers.
void ServeTcl(ScriptedPeer &peer, const TclAnswer &answer, const TclDelivery &deliver = {});

#pragma once

#include "scriptedpeer.h"

#include <QStringList>
#include <map>
#include <mutex>

/// A small debug stub with 4 KiB of memory at 0x1000 that can be told to be difficult. It notes
/// every offence against the rules of the protocol that a stop-mode stub cannot forgive.
class FakeStub {
public:
    struct Manners {
        QByteArray features = "PacketSize=1000";
        QByteArray stopAnswer = "S05"; ///< to "?"; S05: halted, S00: running and answering
        bool ranBefore = false;        ///< attaching stopped it: an unasked stop comes first
        int badChecksums = 0;          ///< so many replies are damaged at first sending
        int refusals = 0;              ///< so many requests are refused with "-" first
        QByteArray before;             ///< comes in front of every reply
        bool runLength = false;        ///< replies use run-length encoding where they can
        /// Raw bytes instead of the reply to a memory request; empty: the regular reply.
        std::function<QByteArray(const QByteArray &request)> spoil;
        bool hangUpAfterSpoiled = false;
    };

    explicit FakeStub(Manners manners);

    quint16 Port() const { return m_peer->Port(); }
    QStringList Requests();
    QStringList Offences();
    bool Runs();

    static constexpr quint32 kMemory = 0x1000;
    static constexpr int kMemoryBytes = 0x1000;
    QByteArray m_memory; ///< not while a client is connected

private:
    void Serve(ScriptedPeer &peer);
    bool NextRequest(ScriptedPeer &peer, QByteArray &request);
    QByteArray Answer(const QByteArray &request);
    bool Reply(ScriptedPeer &peer, const QByteArray &payload);
    void Offend(const QString &what);
    QByteArray Encoded(const QByteArray &payload) const;

    Manners m_manners;
    QByteArray m_input;
    bool m_acks = true;
    std::mutex m_mutex;
    bool m_runs = false;
    QStringList m_requests;
    QStringList m_offences;
    std::unique_ptr<ScriptedPeer> m_peer; // last: its thread uses all of the above
};

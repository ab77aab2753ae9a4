#include "fakestub.h"

static QByteArray Packet(const QByteArray &payload)
{
    int sum = 0;
    for (const char c : payload)
        sum += static_cast<unsigned char>(c);
    return "$" + payload + "#" + QByteArray::number(sum % 256, 16).rightJustified(2, '0');
}

FakeStub::FakeStub(Manners manners)
    : m_memory(kMemoryBytes, '\0')
    , m_manners(std::move(manners))
    , m_runs(m_manners.ranBefore)
{
    for (int i = 0; i < kMemoryBytes; ++i)
        m_memory[i] = char(i * 5 + i / 256);
    m_peer = std::make_unique<ScriptedPeer>([this](ScriptedPeer &peer) { Serve(peer); });
}

QStringList FakeStub::Requests()
{
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

QStringList FakeStub::Offences()
{
    const std::lock_guard lock(m_mutex);
    return m_offences;
}

bool FakeStub::Runs()
{
    const std::lock_guard lock(m_mutex);
    return m_runs;
}

void FakeStub::Offend(const QString &what)
{
    const std::lock_guard lock(m_mutex);
    m_offences << what;
}

QByteArray FakeStub::Encoded(const QByteArray &payload) const
{
    if (!m_manners.runLength)
        return payload;
    QByteArray text;
    for (int i = 0; i < payload.size();) {
        int run = 1;
        while (i + run < payload.size() && payload[i + run] == payload[i] && run < 90)
            ++run;
        while (run > 3 && (run + 28 == '#' || run + 28 == '$'))
            --run;
        text += payload[i];
        if (run > 3)
            text += QByteArray("*") + char(run + 28);
        i += run > 3 ? run : 1;
    }
    return text;
}

bool FakeStub::Reply(ScriptedPeer &peer, const QByteArray &payload)
{
    QByteArray packet = Packet(Encoded(payload));
    if (m_manners.badChecksums > 0) {
        --m_manners.badChecksums;
        QByteArray damaged = packet;
        damaged[1] = char(damaged[1] ^ 1);
        peer.Send(damaged);
        while (!m_input.contains('-')) {
            const QByteArray more = peer.Receive();
            if (more.isEmpty())
                return false;
            m_input += more;
        }
        m_input.clear();
    }
    return peer.Send(m_manners.before + packet);
}

// Takes the next request off the input. An interrupt is one too.
bool FakeStub::NextRequest(ScriptedPeer &peer, QByteArray &request)
{
    for (;;) {
        const bool runs = Runs();
        while (!m_input.isEmpty() && (m_input[0] == '+' || m_input[0] == '-')) {
            if (runs)
                Offend("an acknowledgement while the target runs");
            m_input.remove(0, 1);
        }
        const int end = int(m_input.indexOf('#'));
        if (m_input.startsWith('\x03') || (end >= 0 && m_input.size() >= end + 3)) {
            request = m_input.startsWith('\x03') ? m_input.left(1) : m_input.mid(1, end - 1);
            m_input.remove(0, m_input.startsWith('\x03') ? 1 : end + 3);
            // "c" has no reply: the interrupt of the next transfer may be right behind it. A late
            // acknowledgement is no request either.
            if (peer.MoreWaits())
                m_input += peer.Receive();
            if (request != "c" && !m_input.isEmpty() && m_input != "+")
                Offend("more than one request at a time: " + request + " then " + m_input);
            return true;
        }
        const QByteArray more = peer.Receive();
        if (more.isEmpty())
            return false;
        m_input += more;
    }
}

QByteArray FakeStub::Answer(const QByteArray &request)
{
    if (request.startsWith("qSupported"))
        return m_manners.features;
    if (request == "?")
        return m_manners.stopAnswer;
    if (request == "QStartNoAckMode")
        return "OK";
    if (!request.startsWith('m') && !request.startsWith('M'))
        return {};
    const QList<QByteArray> parts = request.mid(1).replace(':', ',').split(',');
    const quint32 address = parts.value(0).toUInt(nullptr, 16);
    const quint32 count = parts.value(1).toUInt(nullptr, 16);
    if (address < kMemory || address + count > kMemory + kMemoryBytes)
        return "E14";
    const int offset = int(address - kMemory);
    if (request.startsWith('m'))
        return m_memory.mid(offset, int(count)).toHex();
    m_memory.replace(offset, int(count), QByteArray::fromHex(parts.value(2)));
    return "OK";
}

void FakeStub::Serve(ScriptedPeer &peer)
{
    m_input.clear();
    m_acks = true;
    if (Runs()) {
        {
            const std::lock_guard lock(m_mutex);
            m_runs = false;
        }
        peer.Send(Packet("T02thread:01;"));
    }
    QByteArray request;
    while (NextRequest(peer, request)) {
        {
            const std::lock_guard lock(m_mutex);
            if (m_runs && request != "\x03")
                m_offences << "asked while the target runs: " + request;
            m_requests << (request == "\x03" ? "interrupt" : QString(request));
            m_runs = request == "c";
        }
        if (m_acks && request != "\x03" && m_manners.refusals > 0) {
            --m_manners.refusals;
            peer.Send("-");
            continue;
        }
        if (m_acks && request != "\x03")
            peer.Send("+");
        const QByteArray spoiled = m_manners.spoil ? m_manners.spoil(request) : QByteArray();
        if (!spoiled.isEmpty()) {
            if (!peer.Send(spoiled) || m_manners.hangUpAfterSpoiled)
                return;
        } else if (request == "\x03") {
            peer.Send(Packet("T02thread:01;"));
        } else if (request != "c" && !Reply(peer, Answer(request))) {
            return;
        }
        if (request == "QStartNoAckMode")
            m_acks = false;
    }
}

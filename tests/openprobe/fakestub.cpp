#include "fakestub.h"

QByteArray FakeStub::Packet(const QByteArray &payload)
{
    int sum = 0;
    for (const char c : payload)
        sum += static_cast<unsigned char>(c);
    return "$" + payload + "#" + QByteArray::number(sum % 256, 16).rightJustified(2, '0');
}

FakeStub::FakeStub(Manners manners)
    : m_memory(0x1000, '\0')
    , m_manners(std::move(manners))
    , m_runs(m_manners.ranBefore)
{
    for (int i = 0; i < m_memory.size(); ++i)
        m_memory[i] = char(i * 5 + i / 256);
    m_peer = std::make_unique<ScriptedPeer>([this](ScriptedPeer &peer) {
        Serve(peer);
        ++m_served;
    });
}

QStringList FakeStub::Requests()
{
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

void FakeStub::Note(const QByteArray &what)
{
    const std::lock_guard lock(m_mutex);
    m_requests << what;
}

// Takes the next request off the input, an interrupt too. Empty when the client is gone.
QByteArray FakeStub::NextRequest(ScriptedPeer &peer)
{
    for (;;) {
        for (; m_input.startsWith('+') || m_input.startsWith('-'); m_input.remove(0, 1)) {
            if (m_runs)
                Note("OFFENCE: an acknowledgement while the target runs");
            if (m_input.startsWith('-'))
                peer.Send(m_lastPacket);
        }
        const bool interrupt = m_input.startsWith('\x03');
        const qsizetype end = interrupt ? 1 : m_input.indexOf('#') + 3;
        if ((interrupt || end >= 3) && m_input.size() >= end) {
            const QByteArray request = interrupt ? "interrupt" : m_input.mid(1, end - 4);
            m_input.remove(0, end);
            // "c" has no reply: the interrupt of the next transfer may be right behind it. A late
            // acknowledgement is no request either.
            if (peer.MoreWaits())
                m_input += peer.Receive();
            if (!m_manners.emulator && request != "c" && !m_input.isEmpty() && m_input != "+")
                Note("OFFENCE: more than one request at a time: " + request + " then " + m_input);
            return request;
        }
        const QByteArray more = peer.Receive();
        if (more.isEmpty())
            return {};
        m_input += more;
    }
}

void FakeStub::CheckLength(const QByteArray &request)
{
    constexpr qsizetype kFrame = 4; // "$", "#" and the checksum
    const QByteArray size = m_manners.features.split(';').value(0).mid(sizeof "PacketSize");
    if (!size.isEmpty() && request.size() + kFrame > size.toInt(nullptr, 16))
        Note("OFFENCE: longer than announced: " + request);
}

QByteArray FakeStub::Answer(const QByteArray &request)
{
    if (request.startsWith("qSupported"))
        return m_manners.features;
    if (request == "?")
        return m_manners.stopAnswer;
    if (request == "QStartNoAckMode")
        return "OK";
    if (request == "qqemu.sstepbits" && m_manners.emulator)
        return "ENABLE=1,NOIRQ=2,NOTIMER=4";
    if (!request.startsWith('m') && !request.startsWith('M'))
        return {};
    const QList<QByteArray> parts = request.mid(1).replace(':', ',').split(',');
    const quint32 address = parts.value(0).toUInt(nullptr, 16);
    const quint32 count = parts.value(1).toUInt(nullptr, 16);
    if (address < kMemory || address + count > kMemory + quint32(m_memory.size()))
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
    bool acks = true;
    if (m_runs.exchange(false))
        peer.Send(Packet("T02thread:01;"));
    for (QByteArray request; !(request = NextRequest(peer)).isEmpty();) {
        if (m_runs && request != "interrupt")
            Note("OFFENCE: asked while the target runs: " + request);
        Note(request);
        m_runs = request == "c";
        CheckLength(request);
        if (request == "interrupt") {
            peer.Send(Packet(m_manners.interruptAnswer));
            continue;
        }
        // What a client sent before it went counts, even if nobody is left to take the replies.
        if (acks)
            peer.Send(m_manners.refusals-- > 0 ? "-" : "+");
        if (acks && m_manners.refusals >= 0)
            continue;
        // A target that prints does so when it runs, and before anybody looks.
        if (request == "c" && m_manners.printedPackets > 0)
            peer.Send(
                Packet("O" + QByteArray("61").repeated(1000)).repeated(m_manners.printedPackets));
        if (request != "c") {
            m_lastPacket = Packet(Answer(request));
            QByteArray sent = m_lastPacket;
            if (m_manners.badChecksums-- > 0)
                sent.back() = '?';
            if (!(m_manners.deliver ? m_manners.deliver(peer, request, sent) : peer.Send(sent)))
                return;
        }
        acks = acks && request != "QStartNoAckMode";
    }
}

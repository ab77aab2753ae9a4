#include "fakeservers.h"

#include <QRegularExpression>

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
    const int longest
        = m_manners.features.split(';').value(0).mid(sizeof "PacketSize").toInt(nullptr, 16);
    bool acks = true;
    if (m_runs.exchange(false))
        peer.Send(Packet("T02thread:01;"));
    for (QByteArray request, former; !(request = NextRequest(peer)).isEmpty();) {
        if (m_runs && request != "interrupt")
            Note("OFFENCE: asked while the target runs: " + request);
        if (request == "c" && former == "interrupt")
            Note("OFFENCE: stopped for nothing");
        Note(former = request);
        m_runs = request == "c";
        if (longest > 0 && Packet(request).size() > longest)
            Note("OFFENCE: longer than announced: " + request);
        if (request == "interrupt") {
            peer.Send(Packet(m_manners.interruptAnswer));
            continue;
        }
        // Requests that a client sent before it left are served, although nobody takes the replies.
        if (acks)
            peer.Send(m_manners.refusals-- > 0 ? "-" : "+");
        if (acks && m_manners.refusals >= 0)
            continue;
        // A target that prints has printed before the client asks.
        if (request == "c" && m_manners.printedPackets > 0)
            peer.Send(
                Packet("O" + QByteArray("61").repeated(1000)).repeated(m_manners.printedPackets));
        if (request != "c") {
            m_lastPacket = Packet(Answer(request));
            QByteArray sent = m_lastPacket;
            if (m_manners.badChecksums-- > 0)
                sent.back() = '?';
            if (!m_manners.deliver)
                peer.Send(sent);
            else if (!m_manners.deliver(peer, request, sent))
                return;
        }
        acks = acks && request != "QStartNoAckMode";
    }
}

quint8 TclMemory(quint32 address)
{
    return quint8(address * 0x9E3779B1U >> 24);
}

// "read_memory 0x20000000 32 4"
static QByteArray Numbers(const QByteArray &command)
{
    const QList<QByteArray> words = command.split(' ');
    const quint32 address = words.value(1).toUInt(nullptr, 16);
    const quint32 width = words.value(2).toUInt() / 8;
    QByteArray text;
    for (quint32 i = 0; i < words.value(3).toUInt(); ++i) {
        quint32 value = 0;
        for (quint32 byte = 0; byte < width; ++byte)
            value |= quint32(TclMemory(address + i * width + byte)) << 8 * byte;
        text += (i == 0 ? "0x" : " 0x") + QByteArray::number(value, 16);
    }
    return text + '\x1a';
}

QByteArray PoliteTclAnswer(const QByteArray &command)
{
    if (command == "version")
        return "Open On-Chip Debugger 0.12.0\x1a";
    if (command == "target names")
        return "cpu\x1a";
    if (command.endsWith("-type"))
        return "cortex_m\x1a";
    if (command.endsWith("curstate"))
        return "running\x1a";
    return command.startsWith("read_memory") ? Numbers(command) : "\x1a";
}

void ServeTcl(ScriptedPeer &peer, const TclAnswer &answer, const TclDelivery &deliver)
{
    static const QRegularExpression kRequest(
        R"(^apply \{\{\} \{return "(\d+) \[catch \{(.*)\} result\] \$result"\}\}$)");
    QByteArray input;
    for (QByteArray more; !(more = peer.Receive()).isEmpty();) {
        input += more;
        for (qsizetype end = 0; (end = input.indexOf('\x1a')) >= 0; input.remove(0, end + 1)) {
            const auto request = kRequest.match(QString::fromLatin1(input.left(end)));
            QByteArray says = answer(request.captured(2).toLatin1());
            if (says.isNull())
                return;
            const bool failed = says.startsWith("read_memory:");
            if (!says.isEmpty())
                says.prepend(request.captured(1).toLatin1() + (failed ? " 1 " : " 0 "));
            if (!(deliver ? deliver(peer, says) : peer.Send(says)))
                return;
        }
    }
}

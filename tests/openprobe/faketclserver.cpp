#include "faketclserver.h"

#include <QList>
#include <QRegularExpression>

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

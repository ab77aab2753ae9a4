// Whole conversations with a debug stub that keeps to the protocol and then breaks it: handshake,
// reads, writes, stops, printed text, loss. The first bytes say what kind of stub it is, the first
// half of the rest what the client does, the second half what becomes of each reply.

#include "cancelsignal.h"
#include "fuzzpeer.h"
#include "gdbbackend.h"
#include "hextext.h"
#include "rsptext.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <utility>
#include <vector>

using namespace OpenProbe;

namespace {

constexpr std::string_view kDescription
    = "<?xml version=\"1.0\"?><!DOCTYPE target SYSTEM \"gdb-target.dtd\"><target>"
      "<architecture>arm</architecture><xi:include href=\"core.xml\"/></target>";
constexpr std::string_view kCore
    = "<?xml version=\"1.0\"?><feature name=\"org.gnu.gdb.arm.m-profile\"></feature>";
constexpr std::uint32_t kCpuId = 0xE000ED00;
constexpr std::chrono::milliseconds kSlow(40); // the client's shortest time limit is longer

std::uint32_t TakeHex(std::string_view &text)
{
    std::uint32_t value = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, value, 16);
    text.remove_prefix(static_cast<std::size_t>(stop - text.data()));
    if (!text.empty())
        text.remove_prefix(1); // the separator
    return value;
}

/// Payload bytes with all that a packet may not hold escaped.
std::string Escaped(std::string_view text)
{
    std::string payload;
    for (const char c : text) {
        const bool special = std::string_view("$#}*").find(c) != std::string_view::npos;
        payload += special ? std::string{'}', static_cast<char>(c ^ 0x20)} : std::string(1, c);
    }
    return payload;
}

/// A payload as a stub may shorten it: a byte that occurs five times is sent once, with a count.
std::string Shortened(std::string_view payload)
{
    std::string text;
    for (std::size_t i = 0; i < payload.size();) {
        const bool run = payload.substr(i, 5) == std::string(5, payload[i]) && payload[i] != '}';
        text += payload[i];
        if (run)
            text += "*!"; // four more
        i += run ? 5 : 1;
    }
    return text;
}

class Stub final : public FuzzPeer {
public:
    Stub(FuzzInput &kind, FuzzInput actions, const CancelSignal &cancel)
        : m_actions(actions)
        , m_cancel(cancel)
    {
        const unsigned bits = kind.Byte();
        m_emulator = (bits & 1) != 0;
        ran = m_runs = (bits & 2) != 0;
        m_stopAnswer = (bits & 4) != 0 ? "T05thread:01;" : (bits & 8) != 0 ? "S00" : "T02";
        m_attached = (bits & 0x10) != 0;
        constexpr std::array kFeatures = {"PacketSize=1000", "PacketSize=40", "",
            "PacketSize=ffffffff",
            "PacketSize=1000;qXfer:features:read+;vContSupported+;multiprocess+",
            "PacketSize=400;QStartNoAckMode+;qXfer:features:read+",
            "PacketSize=1000;QStartNoAckMode+;QNonStop+", "PacketSize=200;qXfer:memory-map:read+"};
        m_features = kFeatures[bits >> 5];
        // These let a client ask while the target runs, and do not stop it for a new one.
        m_answersInRun = bits >> 5 >= 6;
        if (m_answersInRun)
            ran = m_runs = false;
    }

    FuzzMemory memory;
    bool ran = false;
    std::atomic<bool> lied = false;      // an answer was replaced by one that looks as good
    std::atomic<bool> disturbed = false; // an answer was not just sent
    [[nodiscard]] bool Runs() const { return m_runs; }

private:
    bool Greet() override { return !m_runs.exchange(false) || Send(RspPacket("T02thread:01;")); }

    bool Take(std::string_view bytes) override
    {
        m_input += bytes;
        while (!m_input.empty()) {
            const char first = m_input.front();
            if (m_runs && !m_answersInRun && (m_emulator || first == '\x03')) {
                m_runs = false; // whatever the byte was, it is swallowed
                m_input.erase(0, 1);
                (void)Send(RspPacket("T02thread:01;")); // the rest is served for one who left, too
            } else if (first != '$') {
                m_input.erase(0, 1);
                if (first == '-' && !Send(m_last))
                    return false;
            } else {
                const std::size_t end = m_input.find('#');
                if (end == std::string::npos || m_input.size() < end + 3)
                    return true;
                const std::string request = m_input.substr(1, end - 1);
                m_input.erase(0, end + 3);
                if (!Serve(request))
                    return false;
            }
        }
        return true;
    }

    bool Serve(const std::string &request)
    {
        m_runs = request == "c"; // also when the client has gone already
        if (m_acks && !Send("+"))
            return false;
        return m_runs || Deliver(Answer(request));
    }

    std::string Answer(std::string_view request)
    {
        constexpr std::string_view kDocument = "qXfer:features:read:";
        if (request == "QStartNoAckMode") {
            m_acks = false;
            return "OK";
        }
        if (request.starts_with(kDocument))
            return Part(request.substr(kDocument.size()));
        if (request.starts_with('m') || request.starts_with('M'))
            return Access(request);
        const std::array<std::pair<std::string_view, std::string_view>, 9> answers
            = {{{"qSupported", m_features}, {"?", m_stopAnswer},
                {"qqemu.sstepbits", m_emulator ? "ENABLE=1,NOIRQ=2,NOTIMER=4" : ""},
                {"QNonStop:1", "OK"}, {"vStopped", "OK"}, {"qC", "QC01"}, {"Hg01", "OK"},
                {"qAttached", m_attached ? "1" : "0"}, {"vCont;c", "OK"}}};
        for (const auto &[known, answer] : answers) {
            if (request == known)
                return std::string(answer);
        }
        return {};
    }

    static std::string Part(std::string_view text)
    {
        const std::string_view name = text.substr(0, text.find(':'));
        text.remove_prefix(std::min(text.size(), name.size() + 1));
        const std::uint32_t offset = TakeHex(text);
        const std::uint32_t length = TakeHex(text);
        const std::string_view whole = name == "target.xml" ? kDescription
            : name == "core.xml"                            ? kCore
                                                            : "";
        if (whole.empty())
            return "E00";
        const std::string_view rest = whole.substr(std::min<std::size_t>(offset, whole.size()));
        return (rest.size() > length ? 'm' : 'l') + Escaped(rest.substr(0, length));
    }

    std::string Access(std::string_view request)
    {
        const bool reads = request[0] == 'm';
        request.remove_prefix(1);
        const std::uint32_t address = TakeHex(request);
        const std::uint32_t count = TakeHex(request);
        if (address == kCpuId && count == 4)
            return "41c20f41";
        if (!FuzzMemory::Answers(address, count))
            return "E14";
        std::vector<std::uint8_t> bytes(count);
        FuzzRequire(reads || DecodeHex(request, bytes), "a write brings its bytes");
        for (std::uint32_t i = 0; i < count; ++i) {
            if (reads)
                bytes[i] = memory.At(address + i);
            else
                memory.At(address + i) = bytes[i];
        }
        std::string text;
        AppendHex(text, bytes);
        return reads ? text : "OK";
    }

    bool Deliver(const std::string &payload)
    {
        const std::string packet = RspPacket(payload);
        const std::string late = std::exchange(m_late, {});
        const std::string former = std::exchange(m_last, packet);
        const unsigned action = m_actions.Byte() % 32;
        disturbed = disturbed || action >= 10;
        switch (action) {
        case 10:
            return Send(late + packet + packet);
        case 11:
            m_late = packet;
            return Send(late + packet);
        case 12:
            return Send(former + packet);
        case 13:
            return Send(packet + former);
        case 14:
            return Send("%Stop:T05thread:01;#99%Other:x#b4" + packet);
        case 15:
            for (unsigned i = m_actions.Byte(); i > 0; --i) {
                if (!Send(RspPacket("O" + std::string(100, '6'))))
                    return false;
            }
            return Send(packet);
        case 16:
            return Send("$" + payload + "#xx"); // once more when it is refused
        case 17:
            return Send("-");
        case 18:
            return std::ranges::all_of(packet, [this](char c) { return Send({&c, 1}); });
        case 19:
            lied = true;
            return Send(RspPacket(Escaped(m_actions.Text(m_actions.Byte()))));
        case 20:
            lied = true;
            return Send(m_actions.Text(m_actions.Byte()));
        case 21:
            return Send(RspPacket("T05thread:01;") + packet);
        case 22:
            return Send(RspPacket("W00"));
        case 23:
            return false;
        case 24:
            return true; // silence
        case 25:
            return Send(RspPacket(Shortened(payload)));
        case 26:
            m_cancel.Raise();
            return Send(packet);
        case 27:
            return Send(std::string_view(packet).substr(0, packet.size() / 2));
        case 28:
            lied = true;
            return Send(RspPacket("E01"));
        case 29:
            lied = true;
            return Send(RspPacket(payload.substr(0, payload.size() / 2)));
        default:
            return Send(late + packet);
        }
    }

    FuzzInput m_actions;
    const CancelSignal &m_cancel;
    std::string m_input;
    std::string m_last;
    std::string m_late;
    std::string m_features;
    std::string m_stopAnswer;
    std::atomic<bool> m_runs = false;
    bool m_emulator = false;
    bool m_answersInRun = false;
    bool m_attached = false;
    bool m_acks = true;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput input(data, size);
    FuzzInput kind(data, std::min<std::size_t>(size, 1));
    (void)input.Byte();
    const std::size_t half = size / 2;
    FuzzInput deeds(data + half, size - half);
    const CancelSignal cancel;
    Stub stub(kind, input, cancel);
    stub.Start();
    const auto started = std::chrono::steady_clock::now();
    {
        GdbBackend backend({});
        if (backend.OpenOver(stub.Here(), cancel).empty()) {
            FuzzRequire(backend.CoreId() == 0 || backend.CoreId() == 0x410FC241 || stub.lied,
                "no core id is made up");
            FuzzTransfers(backend, stub.memory, deeds, stub.lied);
        }
        backend.Close();
    }
    // On a machine that is short of time the client gives up on an honest stub, too.
    const bool slow = std::chrono::steady_clock::now() - started > kSlow;
    stub.Join();
    FuzzRequire(
        stub.disturbed || stub.gaveUp || slow || !stub.ran || stub.Runs(), "what ran runs on");
    return 0;
}

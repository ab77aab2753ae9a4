// Whole conversations with OpenOCD's Tcl server, which keeps to its protocol and then breaks it.
// The first half of the input says what becomes of each answer, the second what the client does.

#include "cancelsignal.h"
#include "fuzzpeer.h"
#include "tclbackend.h"

#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

using namespace OpenProbe;

namespace {

constexpr std::uint32_t kCpuId = 0xE000ED00;

std::string_view TakeWord(std::string_view &text)
{
    const std::string_view word = text.substr(0, text.find(' '));
    text.remove_prefix(std::min(text.size(), word.size() + 1));
    return word;
}

std::uint32_t Number(std::string_view text)
{
    const bool hex = text.starts_with("0x");
    std::uint32_t value = 0;
    std::from_chars(text.data() + (hex ? 2 : 0), text.data() + text.size(), value, hex ? 16 : 10);
    return value;
}

struct Answer {
    bool failed = false;
    std::string text;
};

class Server final : public FuzzPeer {
public:
    Server(FuzzInput actions, const CancelSignal &cancel)
        : m_actions(actions)
        , m_cancel(cancel)
        , m_bits(m_actions.Byte())
    {
    }

    FuzzMemory memory;
    std::atomic<bool> lied = false;

private:
    bool Take(std::string_view bytes) override
    {
        m_input += bytes;
        for (std::size_t end = 0; (end = m_input.find('\x1a')) != std::string::npos;
             m_input.erase(0, end + 1)) {
            if (!Serve(std::string_view(m_input).substr(0, end)))
                return false;
        }
        return true;
    }

    // apply {{} {return "NUMBER [catch {COMMAND} result] $result"}}
    bool Serve(std::string_view request)
    {
        const std::size_t quote = request.find('"') + 1;
        const std::size_t open = request.find(" [catch {") + 9;
        const std::size_t close = request.rfind("} result]");
        FuzzRequire(quote < open && open <= close, "requests are numbered");
        const std::string number(request.substr(quote, open - 9 - quote));
        const Answer answer = Execute(request.substr(open, close - open));
        return Deliver(number + (answer.failed ? " 1 " : " 0 ") + answer.text + '\x1a', number);
    }

    Answer Execute(std::string_view command)
    {
        if (command == "version")
            return {false, "Open On-Chip Debugger 0.12.0"};
        if (command == "target names")
            return {false, (m_bits & 7) == 7 ? "" : "chip.cpu"};
        if (command.ends_with("curstate"))
            return {false, (m_bits & 0x18) == 0x18 ? "unknown" : "running"};
        if (command.ends_with("-type"))
            return {false, (m_bits & 0x20) != 0 ? "riscv" : "cortex_m"};
        if (command.ends_with("-endian"))
            return {false, IsBig() ? "big" : "little"};
        if (command == "adapter speed")
            return {false, "adapter speed: 1000 kHz"};
        const std::string_view verb = TakeWord(command);
        FuzzRequire(verb == "read_memory" || verb == "write_memory", "no other command");
        const std::uint32_t address = Number(TakeWord(command));
        const std::uint32_t width = Number(TakeWord(command)) / 8;
        return verb == "read_memory" ? Read(address, width, Number(command))
                                     : Write(address, width, command);
    }

    [[nodiscard]] bool IsBig() const { return (m_bits & 0x40) != 0; }

    [[nodiscard]] std::uint32_t Shift(std::uint32_t byte, std::uint32_t width) const
    {
        return 8 * (IsBig() ? width - 1 - byte : byte);
    }

    Answer Read(std::uint32_t address, std::uint32_t width, std::uint32_t count)
    {
        if (address == kCpuId && width == 4)
            return {false, "0x410fc241"};
        if (!FuzzMemory::Answers(address, std::size_t{width} * count))
            return {true, "read_memory: failed to read memory"};
        std::string text;
        for (std::uint32_t i = 0; i < count; ++i) {
            std::uint32_t value = 0;
            for (std::uint32_t byte = 0; byte < width; ++byte)
                value |= std::uint32_t{memory.At(address + i * width + byte)} << Shift(byte, width);
            std::array<char, 16> digits{};
            const auto end = std::to_chars(digits.data(), digits.data() + 16, value, 16).ptr;
            text += (i == 0 ? "0x" : " 0x") + std::string(digits.data(), end);
        }
        return {false, text};
    }

    Answer Write(std::uint32_t address, std::uint32_t width, std::string_view list)
    {
        FuzzRequire(list.starts_with('{') && list.ends_with('}'), "a list of numbers");
        list = list.substr(1, list.size() - 2);
        std::vector<std::uint32_t> values;
        while (!list.empty())
            values.push_back(Number(TakeWord(list)));
        if (!FuzzMemory::Answers(address, width * values.size()))
            return {true, "write_memory: failed to write memory"};
        for (std::uint32_t i = 0; i < values.size(); ++i) {
            for (std::uint32_t byte = 0; byte < width; ++byte)
                memory.At(address + i * width + byte)
                    = static_cast<std::uint8_t>(values[i] >> Shift(byte, width));
        }
        return {};
    }

    bool Deliver(const std::string &answer, const std::string &number)
    {
        const std::string late = std::exchange(m_late, {});
        const std::string former = std::exchange(m_last, answer);
        switch (m_actions.Byte() % 32) {
        case 10:
            return Send(answer + answer);
        case 11:
            m_late = answer;
            return Send(answer);
        case 12:
            return Send(former) && Send(answer);
        case 13:
            return Send(answer) && Send(former);
        case 14:
            return Send(former); // and never the right one
        case 15:
            return std::ranges::all_of(answer, [this](char c) { return Send({&c, 1}); });
        case 16:
            return Send(std::string_view(answer).substr(0, answer.size() / 2));
        case 17:
            lied = true;
            return Send(m_actions.Text(m_actions.Byte()) + '\x1a');
        case 18:
            lied = true;
            return Send(number + " 0 " + m_actions.Text(m_actions.Byte()) + '\x1a');
        case 19:
            lied = true;
            return Send(number + " 1 no\x1a");
        case 20:
            return Send(number + '\x1a');
        case 21:
            for (int i = 0; i < 40; ++i) {
                if (!Send(std::string(4096, '0')))
                    return false;
            }
            return true;
        case 22:
            return false;
        case 23:
            return true; // silence
        case 24:
            m_cancel.Raise();
            return true;
        default:
            return (late.empty() || Send(late)) && Send(answer);
        }
    }

    FuzzInput m_actions;
    const CancelSignal &m_cancel;
    unsigned m_bits;
    std::string m_input;
    std::string m_last;
    std::string m_late;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::size_t half = size / 2;
    FuzzInput deeds(data + half, size - half);
    const CancelSignal cancel;
    Server server(FuzzInput(data, half), cancel);
    server.Start();
    {
        TclBackend backend({});
        if (backend.OpenOver(server.Here(), cancel).empty()) {
            FuzzRequire(backend.CoreId() == 0 || backend.CoreId() == 0x410FC241 || server.lied,
                "no core id is made up");
            (void)backend.SetSpeed(4000);
            FuzzTransfers(backend, server.memory, deeds, server.lied);
        }
        backend.Close();
    }
    server.Join();
    return 0;
}

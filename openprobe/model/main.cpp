// A board without hardware: a server for OpenOCD's "remote_bitbang" adapter driver whose JTAG pins
// lead to the simulated microcontroller. So the real OpenOCD can be tried, and tested, anywhere.
//
//   boardmodel [PORT]     PORT 0, the default: any free one; it is printed
//
// One client at a time, of this machine alone. Runs until it is ended.

#include "boardbus.h"
#include "debugport.h"
#include "jtagtap.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

std::uint64_t NowMs()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

/// The board with its pins; one character of the adapter's protocol at a time.
class Board {
public:
    /// Appends the reply to the character. False: the client ends the connection.
    bool Take(char c, std::string &answer)
    {
        if (c >= '0' && c <= '7') { // the levels of clock, mode and data in
            const int levels = c - '0';
            m_tap.SetPins((levels & 4) != 0, (levels & 2) != 0, (levels & 1) != 0);
        } else if (c == 'R') {
            answer += m_tap.DataOut() ? '1' : '0';
        } else if (c == 't' || c == 'u') {
            m_tap.Reset();
        }
        return c != 'Q'; // the others blink lamps or reset the system; the model has neither
    }

private:
    BoardBus m_bus{NowMs};
    DebugPort m_port{m_bus};
    JtagTap m_tap{{[this](unsigned) { return m_port.Capture(); },
        [this](unsigned instruction, std::uint64_t scan) {
            if (instruction == JtagTap::kDebugPort)
                m_port.AccessDebugPort(scan);
            else if (instruction == JtagTap::kAccessPort)
                m_port.AccessAccessPort(scan);
        }}};
};

int Listen(std::uint16_t port)
{
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    if (bind(listener, generic, size) != 0 || listen(listener, 1) != 0
        || getsockname(listener, generic, &size) != 0) {
        std::perror("boardmodel");
        close(listener);
        return -1;
    }
    std::printf("listening on 127.0.0.1:%u\n", ntohs(address.sin_port));
    std::fflush(stdout);
    return listener;
}

void Serve(Board &board, int client)
{
    const int on = 1;
    setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    std::array<char, 65536> block{};
    std::string answer;
    for (;;) {
        const ssize_t got = recv(client, block.data(), block.size(), 0);
        if (got <= 0)
            return;
        answer.clear();
        for (std::size_t i = 0; i < static_cast<std::size_t>(got); ++i) {
            if (!board.Take(block[i], answer))
                return;
        }
        if (!answer.empty() && send(client, answer.data(), answer.size(), MSG_NOSIGNAL) < 0)
            return;
    }
}

} // namespace

int main(int argc, char **argv)
{
    const long port = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 0;
    const int listener = port >= 0 && port <= 65535 ? Listen(static_cast<std::uint16_t>(port)) : -1;
    if (listener < 0)
        return EXIT_FAILURE;
    Board board; // lives on while clients come and go
    for (;;) {
        const int client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0)
            continue;
        Serve(board, client);
        close(client);
    }
}

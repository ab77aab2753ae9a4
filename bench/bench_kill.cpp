// How often a machine is left halted when its reader is killed. Needs a running emulator:
//
//   bench_kill STUB_PORT MONITOR_PORT ADDRESS KILLS MILLISECONDS...
//
// For each latency, one way: a reader refreshes 640 bytes ten times a second through a line of that
// latency and is killed (SIGKILL) at a random moment of a fifth of a second, KILLS times, then as
// often while it connects. The monitor says each time whether the machine runs.

#include "ranvoapi.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

sockaddr_in Loopback(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int ConnectTo(int port)
{
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = Loopback(port);
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (connect(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        std::perror("connect");
        std::exit(EXIT_FAILURE);
    }
    return descriptor;
}

/// One direction of a slow line: bytes, and the end of the stream, leave after the latency.
class SlowPipe {
public:
    SlowPipe(int from, int to, milliseconds latency)
        : m_from(from)
        , m_to(to)
        , m_latency(latency)
    {
    }

    /// What poll() has to wait for: -1 once the end has come.
    [[nodiscard]] int Source() const { return m_open ? m_from : -1; }
    [[nodiscard]] bool Ended() const { return !m_open && m_waiting.empty(); }

    void TakeIn() { TakeInAt(Clock::now() + m_latency); }

    /// As TakeIn, for bytes that arrive at that time.
    void TakeInAt(Clock::time_point due)
    {
        std::array<char, 65536> block{};
        const ssize_t got = recv(m_from, block.data(), block.size(), MSG_DONTWAIT);
        if (got < 0 && errno == EAGAIN)
            return;
        m_open = got > 0;
        m_waiting.push_back(
            {due, std::string(block.data(), static_cast<std::size_t>(std::max<ssize_t>(got, 0)))});
    }

    void LetOut()
    {
        while (!m_waiting.empty() && m_waiting.front().due <= Clock::now()) {
            const std::string &bytes = m_waiting.front().bytes;
            if (bytes.empty())
                shutdown(m_to, SHUT_WR);
            else
                (void)!send(m_to, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            m_waiting.pop_front();
        }
    }

    [[nodiscard]] int WaitMs() const
    {
        if (m_waiting.empty())
            return 1000;
        const auto left = std::chrono::ceil<milliseconds>(m_waiting.front().due - Clock::now());
        return static_cast<int>(std::clamp<long long>(left.count(), 0, 1000));
    }

private:
    struct Chunk {
        Clock::time_point due;
        std::string bytes;
    };

    int m_from;
    int m_to;
    milliseconds m_latency;
    bool m_open = true;
    std::deque<Chunk> m_waiting;
};

/// A port behind which the stub is that much farther away; one client after the other.
class SlowLine {
public:
    SlowLine(int stubPort, milliseconds latency)
        : m_stubPort(stubPort)
        , m_latency(latency)
        , m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address = Loopback(0);
        socklen_t size = sizeof address;
        auto *const generic = reinterpret_cast<sockaddr *>(&address);
        if (bind(m_listener, generic, size) != 0 || listen(m_listener, 8) != 0
            || getsockname(m_listener, generic, &size) != 0)
            std::exit(EXIT_FAILURE);
        m_port = ntohs(address.sin_port);
        m_thread = std::thread([this] {
            for (int client = 0;
                 (client = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;)
                Carry(client);
        });
    }

    SlowLine(const SlowLine &) = delete;
    SlowLine &operator=(const SlowLine &) = delete;

    ~SlowLine()
    {
        shutdown(m_listener, SHUT_RDWR);
        m_thread.join();
        close(m_listener);
    }

    [[nodiscard]] int Port() const { return m_port; }

    /// Connections that have been carried to their end.
    [[nodiscard]] int Carried() const { return m_carried; }

private:
    void Carry(int client)
    {
        const int on = 1;
        setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        // The client's connect() takes one round trip; a client killed before that has sent
        // nothing.
        std::this_thread::sleep_for(2 * m_latency);
        char first = 0;
        const ssize_t alive = recv(client, &first, 1, MSG_PEEK | MSG_DONTWAIT);
        pollfd hungUp{client, POLLRDHUP, 0};
        if (alive == 0 || poll(&hungUp, 1, 0) > 0) {
            close(client);
            ++m_carried;
            return;
        }
        const auto accepted = Clock::now() + m_latency;
        std::this_thread::sleep_until(accepted);
        const int stub = ConnectTo(m_stubPort);
        SlowPipe there(client, stub, m_latency);
        SlowPipe back(stub, client, m_latency);
        there.TakeInAt(accepted); // sent as soon as the connection was there
        there.LetOut();
        while (!there.Ended()) {
            std::array<pollfd, 2> entries{
                {{there.Source(), POLLIN, 0}, {back.Source(), POLLIN, 0}}};
            poll(entries.data(), entries.size(), std::min(there.WaitMs(), back.WaitMs()));
            if (entries[0].revents != 0)
                there.TakeIn();
            if (entries[1].revents != 0)
                back.TakeIn();
            there.LetOut();
            back.LetOut();
        }
        close(client);
        close(stub);
        ++m_carried;
    }

    int m_stubPort;
    milliseconds m_latency;
    int m_listener;
    int m_port = 0;
    std::atomic<int> m_carried = 0;
    std::thread m_thread;
};

// The last line of the monitor's reply to a command.
std::string Monitor(int port, const char *command)
{
    const int descriptor = ConnectTo(port);
    const std::string lines
        = std::string("{\"execute\":\"qmp_capabilities\"}\n{\"execute\":\"") + command + "\"}\n";
    std::string all;
    std::array<char, 4096> block{};
    ssize_t moved = send(descriptor, lines.data(), lines.size(), MSG_NOSIGNAL);
    const auto second = [&] {
        const std::size_t first = all.find("\"return\"");
        return first == std::string::npos ? first : all.find("\"return\"", first + 1);
    };
    while (moved > 0 && second() == std::string::npos) {
        moved = recv(descriptor, block.data(), block.size(), 0);
        all.append(block.data(), static_cast<std::size_t>(std::max<ssize_t>(moved, 0)));
    }
    close(descriptor);
    return all;
}

// The child: reads until it is killed, and sends a byte when it begins to refresh.
int BeReader(const char *selector, const char *address)
{
    const auto place = static_cast<std::uint32_t>(std::strtoul(address, nullptr, 16));
    std::array<char, 640> data{};
    RANVOARM_SelectIP(selector, 0);
    if (RANVOARM_Open() != nullptr || RANVOARM_Connect() != 0)
        return EXIT_FAILURE;
    for (auto next = Clock::now();; next += milliseconds(100)) {
        (void)RANVOARM_ReadMemEx(place, data.size(), data.data(), 0);
        std::putchar('.');
        std::fflush(stdout);
        std::this_thread::sleep_until(next + milliseconds(100));
    }
}

pid_t StartReader(const std::string &selector, const std::string &address, int output)
{
    std::string program = "/proc/self/exe";
    std::string mode = "reader";
    std::string first = selector;
    std::string second = address;
    std::array<char *, 5> arguments{
        program.data(), mode.data(), first.data(), second.data(), nullptr};
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO);
    pid_t child = 0;
    if (posix_spawn(&child, program.c_str(), &files, nullptr, arguments.data(), environ) != 0)
        std::exit(EXIT_FAILURE);
    posix_spawn_file_actions_destroy(&files);
    return child;
}

// Whether the machine runs after one reader's end.
bool RunsAfterKill(SlowLine &line, int monitorPort, const std::string &address, bool connecting,
    std::chrono::microseconds moment)
{
    const int carried = line.Carried();
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        std::exit(EXIT_FAILURE);
    const pid_t reader
        = StartReader("gdb:127.0.0.1:" + std::to_string(line.Port()), address, ends[1]);
    close(ends[1]);
    std::array<char, 1> mark{};
    for (int i = 0; !connecting && i < 2; ++i)
        (void)!read(ends[0], mark.data(), mark.size());
    std::this_thread::sleep_for(moment);
    kill(reader, SIGKILL);
    waitpid(reader, nullptr, 0);
    close(ends[0]);
    // A reader that was killed before it had connected leaves nothing to wait for.
    const auto giveUp = Clock::now() + milliseconds(300);
    while (line.Carried() == carried && Clock::now() < giveUp)
        std::this_thread::sleep_for(milliseconds(1));
    std::this_thread::sleep_for(milliseconds(10));
    if (Monitor(monitorPort, "query-status").find("\"running\": true") != std::string::npos)
        return true;
    (void)Monitor(monitorPort, "cont");
    return false;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 4 && std::strcmp(argv[1], "reader") == 0)
        return BeReader(argv[2], argv[3]);
    if (argc < 6) {
        std::fprintf(stderr, "usage: bench_kill STUB_PORT MONITOR_PORT ADDRESS KILLS MS...\n");
        return EXIT_FAILURE;
    }
    std::mt19937 random(1);
    const int kills = std::atoi(argv[4]);
    for (int i = 5; i < argc; ++i) {
        const milliseconds latency(std::atoi(argv[i]));
        for (const bool connecting : {false, true}) {
            SlowLine line(std::atoi(argv[1]), latency);
            std::uniform_int_distribution<int> moment(0, 200'000);
            int halted = 0;
            for (int kill = 0; kill < kills; ++kill) {
                const auto wait = std::chrono::microseconds(moment(random));
                halted
                    += RunsAfterKill(line, std::atoi(argv[2]), argv[3], connecting, wait) ? 0 : 1;
            }
            std::printf("latency %s ms, killed while %s: %d of %d left halted\n", argv[i],
                connecting ? "connecting" : "refreshing", halted, kills);
            std::fflush(stdout);
        }
    }
    return EXIT_SUCCESS;
}

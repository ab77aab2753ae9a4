#include "pidbackend.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fstream>
#include <system_error>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace OpenProbe {
namespace {

constexpr std::uint64_t kPageBytes = 4096;
constexpr std::uint64_t kAddressSpace = 1ULL << 32;

// 0 when the text is no process number.
int ProcessNumber(std::string_view text)
{
    int id = 0;
    const char *const end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, id);
    return failure == std::errc{} && stop == end && id > 0 ? id : 0;
}

std::string FirstLine(const std::string &path)
{
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

// The system cuts process names off after 15 characters.
std::vector<int> ProcessesCalled(const std::string &name)
{
    constexpr std::size_t kShownChars = 15;
    std::vector<int> found;
    DIR *const directory = opendir("/proc");
    while (const dirent *entry = directory != nullptr ? readdir(directory) : nullptr) {
        const int id = ProcessNumber(entry->d_name);
        if (id != 0
            && FirstLine(std::string("/proc/") + entry->d_name + "/comm")
                == name.substr(0, kShownChars))
            found.push_back(id);
    }
    if (directory != nullptr)
        closedir(directory);
    std::ranges::sort(found);
    return found;
}

// The table of mappings is sorted, so its first line decides.
bool HasLowMemory(const std::string &folder)
{
    const std::string line = FirstLine(folder + "/maps");
    std::uint64_t first = kAddressSpace;
    std::from_chars(line.data(), line.data() + line.size(), first, 16);
    return first < kAddressSpace;
}

std::string NoProcess(const std::string &called)
{
    return "No process " + called + ". Start it, or look for its number with ps.";
}

} // namespace

std::string PidBackend::Open(const CancelSignal &)
{
    if (const int id = ProcessNumber(m_process); id != 0)
        return OpenProcess(id);
    const std::vector<int> found = ProcessesCalled(m_process);
    if (found.empty())
        return NoProcess(m_process);
    if (found.size() == 1)
        return OpenProcess(found.front());
    std::string text = "Several processes are called " + m_process + ". Use one of";
    for (std::size_t i = 0; i < std::min<std::size_t>(found.size(), 10); ++i)
        text += " pid:" + std::to_string(found[i]);
    return text + ".";
}

std::string PidBackend::OpenProcess(int id)
{
    const std::string number = std::to_string(id);
    const std::string folder = "/proc/" + number;
    m_exited = static_cast<int>(syscall(SYS_pidfd_open, id, 0));
    if (m_exited < 0 && errno == ESRCH)
        return NoProcess(number);
    if (m_exited >= 0)
        m_memory = open((folder + "/mem").c_str(), O_RDWR | O_CLOEXEC);
    const int error = errno;
    if (m_memory < 0 && error == ENOENT)
        return NoProcess(number);
    if (m_memory < 0 && (error == EACCES || error == EPERM))
        return "Not allowed to read process " + number + " (same user, ptrace_scope).";
    if (m_memory < 0)
        return "Process " + number + " cannot be opened (" + std::generic_category().message(error)
            + "). Is that the number of a whole process?";
    if (!HasLowMemory(folder))
        return "Process " + number
            + " has no memory below 4 GiB. Build the program with -no-pie, or for 32 bits.";
    return {};
}

bool PidBackend::Alive() const noexcept
{
    pollfd entry{m_exited, POLLIN, 0};
    return !m_lost && poll(&entry, 1, 0) == 0;
}

// Bytes that can be read from there without a gap. The system stops at the first unmapped page.
std::size_t PidBackend::Prefix(std::uint32_t address, std::span<std::uint8_t> data)
{
    std::size_t done = 0;
    while (done < data.size()) {
        const ssize_t got = pread(
            m_memory, data.data() + done, data.size() - done, static_cast<off_t>(address + done));
        if (got == 0)
            m_lost = true; // this is the error when the process is gone
        if (got > 0)
            done += static_cast<std::size_t>(got);
        else if (got == 0 || errno != EINTR)
            break;
    }
    return done;
}

int PidBackend::Read(std::uint32_t address, std::span<std::uint8_t> data, std::uint32_t)
{
    const std::size_t prefix = Prefix(address, data);
    const std::uint64_t end = std::uint64_t{address} + data.size();
    std::uint64_t behind = (std::uint64_t{address} + prefix) / kPageBytes * kPageBytes + kPageBytes;
    for (; prefix < data.size() && behind < end && !m_lost; behind += kPageBytes) {
        std::uint8_t sample[1];
        if (Prefix(static_cast<std::uint32_t>(behind), sample) == 1)
            return kTransferFailed;
    }
    return m_lost ? kTransferFailed : static_cast<int>(prefix);
}

int PidBackend::Write(std::uint32_t address, std::span<const std::uint8_t> data, std::uint32_t)
{
    // All or nothing: a range that ends in a hole is not written at all.
    std::vector<std::uint8_t> before(data.size());
    if (Prefix(address, before) != data.size())
        return kTransferFailed;
    std::size_t done = 0;
    while (done < data.size()) {
        const ssize_t put = pwrite(
            m_memory, data.data() + done, data.size() - done, static_cast<off_t>(address + done));
        if (put > 0)
            done += static_cast<std::size_t>(put);
        else if (put == 0 || errno != EINTR)
            return kTransferFailed;
    }
    return static_cast<int>(data.size());
}

void PidBackend::Close() noexcept
{
    for (int *descriptor : {&m_memory, &m_exited}) {
        if (*descriptor >= 0)
            close(*descriptor);
        *descriptor = -1;
    }
}

} // namespace OpenProbe

#include "sysfile.h"

#include "syssleep.h"
#include "utilformat.h"
#include "utiltext.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Result = SysFileResult;
using LongPath = std::array<char, PATH_MAX>;

constexpr int kSharingTries = 6;
constexpr std::uint32_t kSharingPauseMs = 10;
constexpr mode_t kModeBits = 07777;

/// Closes a file descriptor at the end of a block.
class File {
public:
    explicit File(int descriptor)
        : m_descriptor(descriptor)
    {
    }
    ~File() { Close(); }
    File(const File &) = delete;
    File &operator=(const File &) = delete;

    [[nodiscard]] int Get() const { return m_descriptor; }
    [[nodiscard]] bool IsOpen() const { return m_descriptor >= 0; }
    bool Close()
    {
        const int descriptor = m_descriptor;
        m_descriptor = -1;
        return descriptor < 0 || close(descriptor) == 0;
    }

private:
    int m_descriptor;
};

/// The directory of a path, without its last separator; "." or "/" where that would be nothing.
LongPath DirectoryOf(const char *path)
{
    LongPath directory{};
    UTIL_CopyText(directory, path);
    char *lastSeparator = nullptr;
    for (char &c : directory) {
        if (c == '/') // unlike '\', which belongs to our file's name
            lastSeparator = &c;
    }
    if (!lastSeparator)
        UTIL_CopyText(directory, ".");
    else if (lastSeparator == directory.data())
        lastSeparator[1] = '\0';
    else
        *lastSeparator = '\0';
    return directory;
}

Result ResultOfMissing(const char *path)
{
    struct stat info { };
    const LongPath directory = DirectoryOf(path);
    return stat(directory.data(), &info) == 0 ? Result::FileNotFound : Result::PathNotFound;
}

Result ResultOfOpenError(int error, const char *path)
{
    switch (error) {
    case EBUSY:
    case ETXTBSY:
    case EAGAIN:
        return Result::SharingViolation;
    case EACCES:
    case EPERM:
    case EROFS:
        return Result::AccessDenied;
    case EINVAL:
    case ENAMETOOLONG:
    case ELOOP:
        return Result::BadName;
    case ENODEV:
    case ENXIO:
        return Result::InvalidDrive;
    case ENOENT:
        return ResultOfMissing(path);
    case ENOTDIR:
        return Result::PathNotFound;
    case ENOSPC:
    case EDQUOT:
        return Result::TransferFailed;
    default:
        return Result::InvalidFile;
    }
}

/// Runs a step again while another process holds the file.
template <typename Step> Result RetryWhileShared(Step step)
{
    Result result = step();
    for (int tries = 1; result == Result::SharingViolation && tries < kSharingTries; ++tries) {
        SYS_Sleep(kSharingPauseMs);
        result = step();
    }
    return result;
}

/// @return the number of bytes read until the end or the end of the buffer, or -1
ssize_t ReadAll(int file, std::span<char> buffer)
{
    std::size_t length = 0;
    while (length < buffer.size()) {
        const ssize_t got = read(file, buffer.data() + length, buffer.size() - length);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return -1;
        if (got == 0)
            break;
        length += static_cast<std::size_t>(got);
    }
    return static_cast<ssize_t>(length);
}

bool WriteAll(int file, std::string_view content)
{
    while (!content.empty()) {
        const ssize_t put = write(file, content.data(), content.size());
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return false;
        content.remove_prefix(static_cast<std::size_t>(put));
    }
    return true;
}

Result ReadOnce(const char *path, std::span<char> buffer, std::size_t &length)
{
    // Without O_NONBLOCK, opening a pipe of that name would block the program.
    const File file(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!file.IsOpen())
        return ResultOfOpenError(errno, path);
    struct stat info { };
    if (fstat(file.Get(), &info) != 0 || !S_ISREG(info.st_mode))
        return Result::InvalidFile;
    const ssize_t got = ReadAll(file.Get(), buffer);
    char more = 0;
    if (got < 0 || read(file.Get(), &more, 1) != 0)
        return Result::TransferFailed;
    length = static_cast<std::size_t>(got);
    return Result::Ok;
}

/// Gives a new file the owner and mode of the one that it replaces.
bool TakeOver(int file, const struct stat *old)
{
    return !old
        || (fchown(file, old->st_uid, old->st_gid) == 0
            && fchmod(file, old->st_mode & kModeBits) == 0);
}

/// Whether a directory takes no new file at all. Lack of room does not count: the old file must not
/// be risked then.
bool IsRefusal(int error)
{
    switch (error) {
    case EACCES:
    case EPERM:
    case EROFS:
    case EBUSY:        // a file that is mounted by itself
    case ENAMETOOLONG: // the temporary name is longer
        return true;
    default:
        return false;
    }
}

SysFileStamp StampOf(const struct stat &info)
{
    return {info.st_dev, info.st_ino, info.st_size, info.st_mtim.tv_sec, info.st_mtim.tv_nsec};
}

/// The stamp of a file just written, taken before another process can have changed it.
void TakeStamp(int file, SysFileStamp &stamp)
{
    struct stat info { };
    if (fstat(file, &info) == 0)
        stamp = StampOf(info);
}

/// Writes a new file beside the target and puts it in the target's place.
/// @param old      the target's properties, null when it does not exist
/// @param allowed  cleared, with nothing changed, when this is not allowed here
Result ReplaceAtomically(const char *target, const struct stat *old, std::string_view content,
    bool &allowed, SysFileStamp &stamp)
{
    LongPath temporary;
    UTIL_Format(temporary, "%s.XXXXXX", target);
    File file(mkostemp(temporary.data(), O_CLOEXEC));
    if (!file.IsOpen()) {
        allowed = !IsRefusal(errno);
        return ResultOfOpenError(errno, target);
    }
    allowed = TakeOver(file.Get(), old);
    const bool written = allowed && WriteAll(file.Get(), content) && fsync(file.Get()) == 0;
    TakeStamp(file.Get(), stamp);
    if (!file.Close() || !written) {
        unlink(temporary.data());
        return Result::TransferFailed;
    }
    if (rename(temporary.data(), target) != 0) {
        const int error = errno;
        unlink(temporary.data());
        allowed = !IsRefusal(error);
        return ResultOfOpenError(error, target);
    }
    const LongPath directory = DirectoryOf(target);
    const File parent(open(directory.data(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (parent.IsOpen())
        fsync(parent.Get()); // the file is complete by now, whatever the result
    return Result::Ok;
}

/// Reserves the room for a file's new content before the first old byte is overwritten.
bool ReserveRoom(int file, off_t oldLength, off_t newLength)
{
    if (newLength <= oldLength || posix_fallocate(file, 0, newLength) == 0)
        return true;
    // The room that was reserved is given back. Even if that fails, the old bytes are still there.
    [[maybe_unused]] const int trimmed = ftruncate(file, oldLength);
    return false;
}

Result WriteInPlace(const char *path, std::string_view content, SysFileStamp &stamp)
{
    File file(
        open(path, O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, S_IRUSR | S_IWUSR));
    if (!file.IsOpen())
        return ResultOfOpenError(errno, path);
    struct stat info { };
    if (fstat(file.Get(), &info) != 0 || !S_ISREG(info.st_mode))
        return Result::InvalidFile;
    const auto length = static_cast<off_t>(content.size());
    const bool written = ReserveRoom(file.Get(), info.st_size, length)
        && WriteAll(file.Get(), content) && ftruncate(file.Get(), length) == 0
        && fsync(file.Get()) == 0;
    TakeStamp(file.Get(), stamp);
    return file.Close() && written ? Result::Ok : Result::TransferFailed;
}

Result WriteOnce(const char *path, std::string_view content, SysFileStamp &stamp)
{
    struct stat info { };
    const bool exists = stat(path, &info) == 0;
    if (!exists && errno != ENOENT)
        return ResultOfOpenError(errno, path);
    if (exists && !S_ISREG(info.st_mode))
        return Result::InvalidFile;
    if (exists && (info.st_mode & S_IWUSR) == 0)
        return Result::ReadOnly;
    if (exists && faccessat(AT_FDCWD, path, W_OK, AT_EACCESS) != 0)
        return ResultOfOpenError(errno, path);

    LongPath target;
    if (exists) {
        if (!realpath(path, target.data()))
            return ResultOfOpenError(errno, path);
    } else {
        struct stat link { };
        if (lstat(path, &link) == 0) // a link to a file that does not exist yet
            return WriteInPlace(path, content, stamp);
        UTIL_CopyText(target, path);
    }
    bool allowed = false;
    const Result result
        = ReplaceAtomically(target.data(), exists ? &info : nullptr, content, allowed, stamp);
    return allowed ? result : WriteInPlace(path, content, stamp);
}

} // namespace

SysFileResult SYS_ReadFile(const char *path, std::span<char> buffer, std::size_t &length)
{
    length = 0;
    if (path[0] == '\0')
        return Result::PathNotFound;
    return RetryWhileShared([&] { return ReadOnce(path, buffer, length); });
}

SysFileResult SYS_ReplaceFile(const char *path, std::string_view content, SysFileStamp *stamp)
{
    if (path[0] == '\0')
        return Result::PathNotFound;
    SysFileStamp written;
    const Result result = RetryWhileShared([&] { return WriteOnce(path, content, written); });
    if (result == Result::Ok && stamp)
        *stamp = written;
    return result;
}

SysFileStamp SYS_StampOfFile(const char *path)
{
    struct stat info { };
    return stat(path, &info) == 0 ? StampOf(info) : SysFileStamp{};
}

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ProcFs.h"

#include "Helper/linux/LaunchingProgram.h"
#include "Helper/linux/SystemFailures.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Tarnwick::ProcFs {

namespace {

/// PF_KTHREAD of the kernel's include/linux/sched.h.
constexpr std::uint32_t kernelThreadFlag = 0x00200000;

/// The decimal text of a number, NUL-terminated, for a path.
class NumberPath
{
public:
    explicit NumberPath(unsigned number, std::string_view suffix = {})
    {
        char *end = std::to_chars(m_text.data(), m_text.data() + m_text.size(), number).ptr;
        const std::size_t room = static_cast<std::size_t>(m_text.data() + m_text.size() - end) - 1;
        end = std::copy_n(suffix.data(), std::min(suffix.size(), room), end);
        *end = '\0';
    }
    [[nodiscard]] const char *text() const { return m_text.data(); }

private:
    std::array<char, 48> m_text;
};

/// Makes a system call again for as long as signals interrupt it, and twice when it fails otherwise
/// in a way that may pass; such failures are noted. @p name is the call's, a literal.
template<class Call>
auto retried(const char *name, const Call &call)
{
    constexpr int repetitions = 2;
    for (int repeated = 0;; repeated += errno == EINTR ? 0 : 1) {
        const auto result = call();
        if (result >= 0 || !SystemFailures::isTransient(errno)) {
            return result;
        }
        if (repeated == repetitions) {
            SystemFailures::note(name, errno);
            return result;
        }
        SystemFailures::noteRepeated(name, errno);
    }
}

template<class Number>
bool takeNumber(std::string_view &text, Number &number)
{
    const std::size_t start = text.find_first_not_of(' ');
    if (start == std::string_view::npos) {
        return false;
    }
    text.remove_prefix(start);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{}) {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

/// What is in an open PID/stat.
std::optional<Stat> statOf(const FileDescriptor &file)
{
    std::string text;
    constexpr std::size_t longestStat = 4096;
    return file && readWhole(file.get(), text, longestStat) ? parseStat(text) : std::nullopt;
}

} // namespace

bool Stat::isKernelThread() const
{
    return (flags & kernelThreadFlag) != 0;
}

bool Stat::isShell() const
{
    return LaunchingProgram::isShell(comm);
}

FileDescriptor openRoot()
{
    return openDirectory(AT_FDCWD, "/proc");
}

Numbering numbering(int root)
{
    std::array<char, 32> link;
    const ssize_t got = readLinkAt(root, "self", link.data(), link.size());
    pid_t own = 0;
    std::from_chars(link.data(), link.data() + std::max<ssize_t>(0, got), own);
    return own == ::getpid() ? Numbering::Own : Numbering::Foreign;
}

std::optional<pid_t> numberOf(int root, int processDescriptor)
{
    constexpr std::size_t longestInformation = 4096;
    constexpr std::string_view key = "\nPid:\t";
    const NumberPath path(static_cast<unsigned>(processDescriptor));
    std::string text;
    const FileDescriptor folder = openDirectory(root, "self/fdinfo");
    if (!folder || !readFile(folder.get(), path.text(), text, longestInformation)) {
        return std::nullopt;
    }
    const std::size_t line = text.find(key);
    if (line == std::string::npos) {
        return std::nullopt;
    }
    pid_t number = 0;
    const char *const start = text.data() + line + key.size();
    const auto parsed = std::from_chars(start, text.data() + text.size(), number);
    return parsed.ec == std::errc{} ? std::optional(number) : std::nullopt;
}

std::vector<ProcessEntry> processes(int root)
{
    std::vector<NumberedEntry> entries;
    readNumbers(root, entries);
    std::vector<ProcessEntry> found;
    found.reserve(entries.size());
    for (const NumberedEntry &entry : entries) {
        found.push_back({static_cast<pid_t>(entry.number), entry.inode});
    }
    std::sort(found.begin(), found.end());
    return found;
}

bool readNumbers(int directory, std::vector<NumberedEntry> &entries, std::uint64_t enough)
{
    // One entry as getdents64(2) lays it out; the name, NUL-terminated, follows.
    struct Entry
    {
        std::uint64_t inode;
        std::int64_t offset;
        std::uint16_t length;
        std::uint8_t type;
    };
    constexpr std::size_t nameOffset = 19;
    // Directories of /proc are made up while they are read: few large reads beat many small ones.
    constexpr std::size_t bufferSize = 64UL * 1024;
    // No entry is longer than this, so a result that leaves more room than that was the last one.
    constexpr std::size_t longestEntry = 280;
    thread_local std::vector<char> buffer(bufferSize);

    entries.clear();
    ::lseek(directory, 0, SEEK_SET);
    for (;;) {
        const long got = retried("getdents64", [directory] {
            return ::syscall(SYS_getdents64, directory, buffer.data(), bufferSize);
        });
        if (got < 0) {
            return false;
        }
        const auto size = static_cast<std::size_t>(got);
        for (std::size_t at = 0; at < size;) {
            Entry entry{};
            std::memcpy(&entry, buffer.data() + at, nameOffset);
            const char *name = buffer.data() + at + nameOffset;
            at += entry.length;
            unsigned number = 0;
            const auto [end, error] = std::from_chars(name, name + std::strlen(name), number);
            if (error == std::errc{} && *end == '\0') {
                entries.push_back({number, entry.inode});
            }
        }
        if (size + longestEntry < bufferSize || entries.size() >= enough) {
            return true;
        }
    }
}

FileDescriptor openFile(int directory, const char *name)
{
    return FileDescriptor(
        retried("openat", [&] { return ::openat(directory, name, O_RDONLY | O_CLOEXEC); }));
}

FileDescriptor openDirectory(int directory, const char *name)
{
    return FileDescriptor(retried(
        "openat", [&] { return ::openat(directory, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
}

FileDescriptor openProcess(int root, pid_t pid)
{
    return openDirectory(root, NumberPath(static_cast<unsigned>(pid)).text());
}

FileDescriptor openOfProcess(int root, pid_t pid, std::string_view name)
{
    return openFile(root, NumberPath(static_cast<unsigned>(pid), name).text());
}

FileDescriptor openDirectoryOfProcess(int root, pid_t pid, std::string_view name)
{
    return openDirectory(root, NumberPath(static_cast<unsigned>(pid), name).text());
}

ssize_t readAt(int file, char *buffer, std::size_t size, off_t offset)
{
    return retried("pread64", [&] { return ::pread(file, buffer, size, offset); });
}

ssize_t readLinkAt(int directory, const char *name, char *buffer, std::size_t size)
{
    return retried("readlinkat", [&] { return ::readlinkat(directory, name, buffer, size); });
}

bool readWhole(int file, std::string &content, std::size_t limit)
{
    constexpr std::size_t firstRead = 4096;
    std::size_t size = 0;
    content.resize(std::min(firstRead, limit));
    for (;;) {
        const ssize_t got =
            readAt(file, content.data() + size, content.size() - size, static_cast<off_t>(size));
        if (got < 0) {
            content.clear();
            return false;
        }
        size += static_cast<std::size_t>(got);
        // Many files of /proc hand out a page at a time: only nothing is the end.
        if (got == 0 || size == limit) {
            content.resize(size);
            return true;
        }
        if (size == content.size()) {
            content.resize(std::min(limit, content.size() * 4));
        }
    }
}

bool readFile(int directory, const char *name, std::string &content, std::size_t limit)
{
    const FileDescriptor file = openFile(directory, name);
    if (!file) {
        content.clear();
        return false;
    }
    return readWhole(file.get(), content, limit);
}

bool readLink(int directory, const char *name, std::string &target)
{
    // The kernel makes the target up in one page, so no link of /proc is longer.
    std::array<char, 4096> buffer;
    const ssize_t got = readLinkAt(directory, name, buffer.data(), buffer.size());
    target.assign(buffer.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
    return got > 0;
}

std::optional<Stat> parseStat(std::string_view text)
{
    // The name stands in parentheses and may hold some itself: the last one closes it.
    const std::size_t open = text.find('(');
    const std::size_t close = text.rfind(')');
    if (open == std::string_view::npos || close == std::string_view::npos || close < open ||
        close + 2 >= text.size()) {
        return std::nullopt;
    }
    Stat stat;
    stat.comm = text.substr(open + 1, close - open - 1);
    stat.state = text[close + 2];
    std::string_view rest = text.substr(close + 3);
    // Fields 4 to 9 of proc(5): parent, group, session, terminal, its group, flags.
    std::int64_t skipped = 0;
    if (!takeNumber(rest, stat.parent) || !takeNumber(rest, stat.processGroup) ||
        !takeNumber(rest, stat.session) || !takeNumber(rest, stat.terminal) ||
        !takeNumber(rest, skipped) || !takeNumber(rest, stat.flags)) {
        return std::nullopt;
    }
    constexpr int fieldsBetweenFlagsAndStart = 12;
    for (int field = 0; field < fieldsBetweenFlagsAndStart; ++field) {
        const std::size_t start = rest.find_first_not_of(' ');
        if (start == std::string_view::npos) {
            return std::nullopt;
        }
        rest.remove_prefix(std::min(rest.size(), rest.find(' ', start)));
    }
    if (!takeNumber(rest, stat.startTicks)) {
        return std::nullopt;
    }
    return stat;
}

std::vector<uid_t> parseUsers(std::string_view status)
{
    constexpr std::string_view key = "\nUid:";
    std::vector<uid_t> users;
    const std::size_t line = status.find(key);
    if (line == std::string_view::npos) {
        return users;
    }
    status.remove_prefix(line + key.size());
    status = status.substr(0, status.find('\n'));
    while (!status.empty()) {
        status.remove_prefix(std::min(status.size(), status.find_first_not_of("\t ")));
        uid_t user = 0;
        const auto parsed = std::from_chars(status.data(), status.data() + status.size(), user);
        if (parsed.ec != std::errc{}) {
            break;
        }
        users.push_back(user);
        status.remove_prefix(static_cast<std::size_t>(parsed.ptr - status.data()));
    }
    return users;
}

std::optional<Stat> stat(int root, pid_t pid)
{
    return statOf(openOfProcess(root, pid, "/stat"));
}

std::optional<Stat> stat(int processDirectory)
{
    return statOf(openFile(processDirectory, "stat"));
}

std::int64_t sizeOfDescriptorTable(int root, pid_t pid)
{
    struct stat status = {};
    const NumberPath path(static_cast<unsigned>(pid), "/fd");
    const int result =
        retried("newfstatat", [&] { return ::fstatat(root, path.text(), &status, 0); });
    return result == 0 ? status.st_size : -1;
}

std::size_t threadCount(int root, pid_t pid)
{
    // proc(5): a directory's two links, and one for each thread.
    constexpr nlink_t linksOfDirectory = 2;
    struct stat status = {};
    const NumberPath path(static_cast<unsigned>(pid), "/task");
    const bool told =
        retried("newfstatat", [&] { return ::fstatat(root, path.text(), &status, 0); }) == 0;
    return told && status.st_nlink > linksOfDirectory ? status.st_nlink - linksOfDirectory : 0;
}

bool isZombie(int root, pid_t pid, const Stat &stat)
{
    return (stat.state == 'Z' || stat.state == 'X') && threadCount(root, pid) <= 1;
}

bool isOwnWithoutMainThread(int root, pid_t pid)
{
    struct stat status = {};
    const FileDescriptor directory = openProcess(root, pid);
    if (!directory || ::fstat(directory.get(), &status) != 0 || status.st_uid != ::geteuid()) {
        return false;
    }
    const std::optional<Stat> found = stat(directory.get());
    return found && found->state == 'Z';
}

Descriptor descriptor(int descriptors, unsigned number)
{
    // Longer targets are cut, and are no sockets.
    std::array<char, 64> link;
    const ssize_t got =
        readLinkAt(descriptors, NumberPath(number).text(), link.data(), link.size());
    if (got < 0 && errno == ENAMETOOLONG) {
        return {Descriptor::Kind::Other, 0}; // a file with a path that fills more than a page
    }
    if (got <= 0) {
        const bool denied = got < 0 && (errno == EACCES || errno == EPERM);
        return {denied ? Descriptor::Kind::Denied : Descriptor::Kind::None, 0};
    }
    const std::optional<std::uint32_t> inode =
        socketInode(std::string_view(link.data(), static_cast<std::size_t>(got)));
    return inode ? Descriptor{Descriptor::Kind::Socket, *inode}
                 : Descriptor{Descriptor::Kind::Other, 0};
}

bool mayLookAt(int descriptors)
{
    // Nearly every process has one of the three standard descriptors: no need to list them all.
    constexpr unsigned standardDescriptors = 3;
    for (unsigned number = 0; number < standardDescriptors; ++number) {
        const Descriptor seen = descriptor(descriptors, number);
        if (seen.kind != Descriptor::Kind::None) {
            return seen.kind != Descriptor::Kind::Denied;
        }
    }
    std::vector<NumberedEntry> entries;
    readNumbers(descriptors, entries);
    return entries.empty() ||
           descriptor(descriptors, entries.front().number).kind != Descriptor::Kind::Denied;
}

std::optional<std::uint32_t> socketInode(std::string_view link)
{
    constexpr std::string_view prefix = "socket:[";
    if (!link.starts_with(prefix) || link.back() != ']') {
        return std::nullopt;
    }
    std::uint32_t inode = 0;
    const char *end = link.data() + link.size() - 1;
    const auto parsed = std::from_chars(link.data() + prefix.size(), end, inode);
    if (parsed.ec != std::errc{} || parsed.ptr != end) {
        return std::nullopt;
    }
    return inode;
}

} // namespace Tarnwick::ProcFs

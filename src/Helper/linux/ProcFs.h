// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

/// Reading the process file system, /proc (proc(5)): small functions over descriptors relative to
/// it, so that a path is never looked up twice. Everything here may fail at any moment because a
/// process ends; nothing, or a short answer, is then the result.
namespace Tarnwick::ProcFs {

/// A directory of /proc that stands for a process. The kernel makes a new inode for a process that
/// got the identifier of an earlier one, so that the pair tells them apart without a look inside.
struct ProcessEntry
{
    pid_t pid = 0;
    std::uint64_t inode = 0;

    // NOLINTNEXTLINE(modernize-use-nullptr): a false alarm of clang-tidy 14
    friend auto operator<=>(const ProcessEntry &, const ProcessEntry &) = default;
};

/// What /proc/PID/stat tells, of what is used here.
struct Stat
{
    std::string comm; ///< at most 15 bytes, of any value but NUL
    char state = '?'; ///< 'Z' for a zombie, 'T' for a stopped process
    pid_t parent = 0;
    pid_t processGroup = 0;
    pid_t session = 0;
    std::int64_t terminal = 0;    ///< device number of the session's; 0 for none
    std::uint32_t flags = 0;      ///< PF_* of the kernel's linux/sched.h
    std::uint64_t startTicks = 0; ///< since boot, in units of sysconf(_SC_CLK_TCK)

    [[nodiscard]] bool isKernelThread() const;

    /// Whether `comm` is the name of a shell (LaunchingProgram).
    [[nodiscard]] bool isShell() const;
};

/// /proc itself, open; none when it is not mounted.
[[nodiscard]] FileDescriptor openRoot();

/// Whose numbers processes have in /proc: those that system calls of this process understand, or
/// those of another namespace (pid_namespaces(7)), as where a container sees the /proc of its host.
/// A system call with a foreign number reaches a stranger.
enum class Numbering { Own, Foreign };
[[nodiscard]] Numbering numbering(int root);

/// The number that /proc has for the process behind a descriptor of pidfd_open(2); negative when
/// that has ended, nothing when it is not told. Right in any namespace.
[[nodiscard]] std::optional<pid_t> numberOf(int root, int processDescriptor);

/// The processes that /proc shows, in ascending order of identifier.
[[nodiscard]] std::vector<ProcessEntry> processes(int root);

/// A numeric name in a directory of /proc, such as PID/fd or PID/task.
struct NumberedEntry
{
    unsigned number = 0;
    std::uint64_t inode = 0;
};

/// Replaces @p entries with the numeric names in @p directory, read from its start: all of them, or
/// at least the first @p enough. False, with errno, when it could not be read to that end; then @p
/// entries has what was read before.
bool readNumbers(int directory, std::vector<NumberedEntry> &entries,
                 std::uint64_t enough = ~std::uint64_t{0});

/// Opens @p name relative to @p directory for reading, close-on-exec.
[[nodiscard]] FileDescriptor openFile(int directory, const char *name);
[[nodiscard]] FileDescriptor openDirectory(int directory, const char *name);

/// /proc/PID, and a file or a directory in it, @p name being "/stat" or the like.
[[nodiscard]] FileDescriptor openProcess(int root, pid_t pid);
[[nodiscard]] FileDescriptor openOfProcess(int root, pid_t pid, std::string_view name);
[[nodiscard]] FileDescriptor openDirectoryOfProcess(int root, pid_t pid, std::string_view name);

/// pread(2) and readlinkat(2), which go on after signals; failures that may pass are noted in
/// SystemFailures, as they are by all that is here.
[[nodiscard]] ssize_t readAt(int file, char *buffer, std::size_t size, off_t offset);
[[nodiscard]] ssize_t readLinkAt(int directory, const char *name, char *buffer, std::size_t size);

/// Replaces @p content with the file's first @p limit bytes, from offset 0, in as many reads as it
/// takes. False on an error; an empty file is no error.
bool readWhole(int file, std::string &content, std::size_t limit);

/// The same for a file that is opened and closed for it.
bool readFile(int directory, const char *name, std::string &content, std::size_t limit);

/// Replaces @p target with what the symbolic link names; false when it cannot be read.
bool readLink(int directory, const char *name, std::string &target);

[[nodiscard]] std::optional<Stat> parseStat(std::string_view text);

/// The users in the line "Uid:" of the text of PID/status: real, effective, saved, file system.
/// None when there is no such line.
[[nodiscard]] std::vector<uid_t> parseUsers(std::string_view status);

/// The stat of a process, by identifier or in its open directory.
[[nodiscard]] std::optional<Stat> stat(int root, pid_t pid);
[[nodiscard]] std::optional<Stat> stat(int processDirectory);

/// The size that the directory PID/fd has, without opening it: the number of open descriptors since
/// Linux 6.2. Negative when there is no such process or it is not ours to look at.
[[nodiscard]] std::int64_t sizeOfDescriptorTable(int root, pid_t pid);

/// How many threads a process has; 0 when there is no such process.
[[nodiscard]] std::size_t threadCount(int root, pid_t pid);

/// Whether the process with @p stat has ended and is yet to be reaped. One whose main thread has
/// ended, while others go on, has the same state.
[[nodiscard]] bool isZombie(int root, pid_t pid, const Stat &stat);

/// Whether @p pid is a process of this user whose main thread has ended, be it that others go on.
/// Newer kernels let nobody but root open PID/fd of such a process, in which there is nothing.
[[nodiscard]] bool isOwnWithoutMainThread(int root, pid_t pid);

/// What a descriptor of a process refers to, as far as it matters here.
struct Descriptor
{
    enum class Kind {
        None,   ///< there is no such descriptor, or no such process any more
        Denied, ///< not ours to look at, like all others of the process
        Other,  ///< a file, a pipe, or anything but a socket
        Socket
    };
    Kind kind = Kind::None;
    std::uint32_t inode = 0; ///< of the socket
};

/// Looks at descriptor @p number in the open directory PID/fd.
[[nodiscard]] Descriptor descriptor(int descriptors, unsigned number);

/// Whether the descriptors in the open directory PID/fd are ours to look at. A process with more
/// privileges than ours may let us list them and yet deny what they refer to. True when there are
/// none.
[[nodiscard]] bool mayLookAt(int descriptors);

/// The inode of the socket that the text of a link names, "socket:[4711]".
[[nodiscard]] std::optional<std::uint32_t> socketInode(std::string_view link);

} // namespace Tarnwick::ProcFs

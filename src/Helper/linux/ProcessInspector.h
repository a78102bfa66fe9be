// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/ProcessIdentity.h"
#include "Helper/linux/BootClock.h"
#include "Helper/linux/ForwarderCommand.h"
#include "Helper/linux/ProcFs.h"
#include "Helper/linux/ProcessPlace.h"
#include "Helper/linux/ProcessorClock.h"
#include "Models/Timestamp.h"
#include "Shared/FileDescriptor.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// What a listing tells of a process. All texts are UTF-8 and within the bounds of a record.
struct ProcessDetails
{
    std::string processName; ///< the first that this program went by
    /// Where its executable lay when it was seen first: a file that is moved stays the program.
    std::string commandPath;
    std::string cwd;
    std::vector<std::string> arguments;
    std::vector<std::string> originArguments;
    std::uint64_t program = 0; ///< as in ReportedProcess
    std::uint64_t memoryBytes = 0;
    Timestamp startedAt;
    std::size_t recordCost = 0; ///< of a record with these texts, see RecordBounds
    /// The program by the name of its executable, where it is one that forwards ports.
    std::optional<ForwarderCommand::Program> forwarder;
};

/// Looks at one process, again and again: keeps its files of /proc open, so that a look costs a
/// read of each, and takes texts apart only when they have changed. A process that has not run
/// since is not even asked for its name and arguments: only others can have changed something, its
/// paths. Reads through an open file never reach another process that got the same identifier.
/// Where the main thread has ended and others go on, one of those is asked instead. Of a process
/// that is ending, whose memory is gone and whose sockets are not yet, the details stay what they
/// were. One thread at a time; several inspectors may be used at once.
class ProcessInspector
{
public:
    /// Nothing when there is no such process, or no descriptor is left to look at it with: errno
    /// tells which.
    [[nodiscard]] static std::unique_ptr<ProcessInspector>
    open(int root, pid_t pid, ProcFs::Numbering numbering = ProcFs::Numbering::Own);

    [[nodiscard]] const ProcessIdentity &identity() const { return m_identity; }

    /// Whether descriptor @p descriptor of the process, or of a @p thread of it that has its own,
    /// refers to the socket with that inode. False as well when it cannot be seen.
    [[nodiscard]] bool holds(unsigned descriptor, std::uint32_t inode, pid_t thread = 0) const;

    enum class Reading {
        Everything,
        /// What a process can only change by running is read if it has run. Only for a moment at
        /// which nothing but the caller runs: the time of a running process is counted with delay.
        WhatMayHaveChanged
    };

    /// Reads the details again. False when the process has ended.
    [[nodiscard]] bool refresh(const BootClock &clock, Reading reading = Reading::Everything);

    /// Whether the process may have run between the last two calls of refresh(). One that has not
    /// has opened, closed and renamed nothing.
    [[nodiscard]] bool hasRun() const { return m_hasRun; }

    /// Whether the process is ending, or is a zombie, as of the last refresh().
    [[nodiscard]] bool isEnding() const { return !m_hasMemory; }

    /// Its parent and its process group when it was opened first.
    [[nodiscard]] const ProcessPlace &placeWhenOpened() const { return m_placeWhenOpened; }

    /// As of the last refresh().
    [[nodiscard]] const ProcessDetails &details() const { return m_details; }

    /// Makes the `originArguments` of the details from @p commandLine, as /proc/PID/cmdline of
    /// another process has it; none when it is empty or the process's own.
    void setOrigin(std::string_view commandLine);

    /// Whether the files are open.
    [[nodiscard]] bool isOpen() const { return static_cast<bool>(m_directory); }

    /// Closes the files, where there are too many processes to keep all of them open.
    void release();

    /// Opens them again. False when the process has ended, also when another has its identifier or
    /// may have it, or no descriptor is left: errno tells which.
    [[nodiscard]] bool reopen();

    /// How many descriptors an inspector keeps open at most.
    static constexpr unsigned mostDescriptors = 5;

    /// How many arguments of a command line are kept at most. They are the first, which tell what
    /// runs; what follows a thousand is a list of files or the like.
    static constexpr std::size_t mostArguments = 1024;

    /// Splits what /proc/PID/cmdline holds into arguments. At most 64 KiB are kept, and @ref
    /// mostArguments; an argument that does not fit is left out whole, with those behind it.
    [[nodiscard]] static std::vector<std::string> splitArguments(std::string_view commandLine);

private:
    ProcessInspector(int root, pid_t pid, ProcFs::Numbering numbering)
        : m_root(root)
        , m_numbering(numbering)
        , m_identity{.pid = pid}
    {
    }

    [[nodiscard]] bool openFiles();
    [[nodiscard]] bool openFilesOfImage();
    [[nodiscard]] bool moveToLivingThread();
    [[nodiscard]] bool readMemory();
    [[nodiscard]] bool readImage();
    void describe();
    void describeOrigin();
    void describeProgram(std::string name, std::string path);
    [[nodiscard]] bool isSameExecutable();

    int m_root;
    ProcFs::Numbering m_numbering;
    ProcessIdentity m_identity;
    ProcessPlace m_placeWhenOpened;
    pid_t m_thread = 0;         ///< whose files these are; 0 for the main thread
    FileDescriptor m_directory; ///< PID or PID/task/TID
    FileDescriptor m_descriptors;
    FileDescriptor m_statm;
    FileDescriptor m_comm;
    FileDescriptor m_commandLine;
    ProcessorClock m_processorClock;
    bool m_hasRun = true;
    bool m_hasMemory = true;

    // As the kernel told them last; the details are made from them.
    std::string m_rawComm;
    std::string m_rawCommandLine;
    std::string m_rawExecutable;
    std::string m_rawDirectory;
    std::string m_rawOrigin;
    std::string m_executablePath; ///< by which the next one was found
    std::string m_executable;     ///< device and inode, as MappedFile gives them; empty if unknown
    bool m_described = false;
    bool m_isStale = false; ///< some of them were read, and the details not made from them yet
    ProcessDetails m_details;
};

} // namespace Tarnwick

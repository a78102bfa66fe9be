// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/LaunchingProgram.h"
#include "Helper/linux/ProcFs.h"
#include "Helper/linux/ProcessChildren.h"
#include "Helper/linux/ProcessPlace.h"
#include "Helper/linux/ProcessorClock.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// A process above a listener's, as far as it decides what the user typed: its place, its command
/// line, and whether it has one child. What nobody asked for is not read; what was read is read
/// again only when the processes that can change it have run. The time of one that runs at this
/// very moment is counted with delay (ProcessorClock): what it does then is seen next time. Where a
/// call fails for a moment (SystemFailures), what was read before stays, and is read again next
/// time. One thread.
class AncestorProcess
{
public:
    enum class Processes {
        Same,
        Changed ///< some have come or gone since the previous refresh
    };

    enum class Change {
        None,
        Some,
        Ended ///< or it is another process by now: whose parent it was has another one
    };

    /// @p root is /proc; it and @p children must outlive this.
    AncestorProcess(int root, pid_t pid, ProcFs::Numbering numbering, ProcessChildren &children);

    [[nodiscard]] pid_t pid() const { return m_pid; }

    /// Reads again what may have changed.
    [[nodiscard]] Change refresh(Processes processes);

    /// Whether it is there, may be seen and is no zombie.
    [[nodiscard]] bool exists() const { return m_exists; }
    [[nodiscard]] const ProcessPlace &place() const { return m_place; }

    /// Its place, read at once: its parent may have ended.
    const ProcessPlace &readPlaceAgain();

    [[nodiscard]] LaunchingProgram::Kind kind();
    /// As PID/cmdline has it; empty when it cannot be read.
    [[nodiscard]] const std::string &commandLine();
    [[nodiscard]] bool hasOnlyChild(pid_t child);

    /// Has the children read when they matter next: one that is no ancestor of a listener's may
    /// have ended, and another one come in its place.
    void forgetChildren() { m_areChildrenRead = false; }

    /// The most of a command line that is read: one byte more than is kept of it, to tell one of
    /// just that size from a longer one (see ProcessInspector::splitArguments).
    static constexpr std::size_t maxCommandLineBytes = 64UL * 1024 + 1;

private:
    struct Command
    {
        LaunchingProgram::Kind kind = LaunchingProgram::Kind::None;
        std::string line;

        friend bool operator==(const Command &, const Command &) = default;
    };

    [[nodiscard]] Change readPlace();
    [[nodiscard]] Change readStat();
    [[nodiscard]] Command readCommand() const;
    const Command &command();
    [[nodiscard]] bool readCommandAgain();
    [[nodiscard]] bool mayHaveOtherChildren(Processes processes, bool mayHaveChanged);
    [[nodiscard]] bool readChildrenAgain();
    [[nodiscard]] pid_t onlyChild() const;

    int m_root;
    pid_t m_pid;
    ProcFs::Numbering m_numbering;
    ProcessChildren &m_childLists;
    ProcessorClock m_clock;
    bool m_exists = false;
    bool m_isStale = false; ///< a call has failed
    ProcessPlace m_place;
    std::string m_comm;
    std::uint64_t m_startTicks = 0;
    std::optional<Command> m_command;
    bool m_areChildrenRead = false;
    bool m_areChildrenStale = false; ///< as m_isStale
    bool m_mayHaveForked = false;    ///< processes have changed since the children were read
    ProcessChildren::Children m_children;
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

// Takes each input for every text of /proc in turn: stat, status, cmdline, cgroup.procs, mountinfo,
// the link of a descriptor, the path of a control group.

#include "Helper/ProcessName.h"
#include "Helper/linux/ControlGroups.h"
#include "Helper/linux/ProcFs.h"
#include "Helper/linux/ProcessInspector.h"
#include "tests/Fuzz/Fuzzer.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

using namespace Tarnwick;

namespace {

void parseStat(std::string_view text)
{
    if (const std::optional<ProcFs::Stat> stat = ProcFs::parseStat(text)) {
        require(text.find(stat->comm) != std::string_view::npos);
        static_cast<void>(stat->isKernelThread());
    }
}

void parseCommandLine(std::string_view text)
{
    const std::vector<std::string> arguments = ProcessInspector::splitArguments(text);
    require(arguments.size() <= ProcessInspector::mostArguments);
    const std::size_t end = std::min(text.size(), text.find('\0'));
    require(!ProcessName::from(text.substr(0, 15), text.substr(0, end), arguments).empty());
    require(!ProcessName::from({}, {}, arguments).empty());
}

void parseGroup(std::string_view text)
{
    std::vector<pid_t> processes;
    ControlGroups::parseProcesses(text, processes);
    require(std::all_of(processes.begin(), processes.end(), [](pid_t pid) { return pid > 0; }));
    require(text.find(ControlGroups::unit(text)) != std::string_view::npos);
    static_cast<void>(ControlGroups::isShared(text));
    static_cast<void>(ControlGroups::serviceOfSocketUnit(text));
    const std::optional<std::string> point = ControlGroups::mountPoint(text);
    require(!point || point->size() <= text.size());
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view text = textOf(data, size);
    parseStat(text);
    require(ProcFs::parseUsers(text).size() <= text.size());
    parseCommandLine(text);
    parseGroup(text);
    static_cast<void>(ProcFs::socketInode(text));
    return 0;
}

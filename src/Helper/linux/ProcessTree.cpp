// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ProcessTree.h"

#include "Helper/linux/ProcFs.h"
#include "Helper/linux/ProcessIdentification.h"
#include "Helper/linux/ProcessInspector.h"
#include "Shared/FileDescriptor.h"
#include "Shared/Utf8.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

#include <sys/stat.h>

namespace Tarnwick {

namespace {

constexpr std::size_t maxCommandLineBytes = 64UL * 1024;

std::optional<TreeProcess> readProcess(int root, pid_t pid)
{
    struct stat status = {};
    const FileDescriptor directory = ProcFs::openProcess(root, pid);
    if (!directory || ::fstat(directory.get(), &status) != 0) {
        return std::nullopt;
    }
    std::optional<ProcessIdentity> identity = ProcessIdentification::of(directory.get(), pid);
    const std::optional<ProcFs::Stat> stat = ProcFs::stat(directory.get());
    if (!identity || !stat || stat->isKernelThread()) {
        return std::nullopt;
    }
    return TreeProcess{.identity = *std::move(identity),
                       .parent = stat->parent,
                       .group = stat->processGroup,
                       .session = stat->session,
                       .hasTerminal = stat->terminal != 0,
                       .hasEnded = stat->state == 'Z' && ProcFs::threadCount(root, pid) <= 1,
                       .userId = status.st_uid,
                       .name = Utf8::sanitized(stat->comm)};
}

std::string outputOf(int root, std::int32_t pid, int descriptor)
{
    std::string target;
    const std::string link = std::to_string(pid) + "/fd/" + std::to_string(descriptor);
    return ProcFs::readLink(root, link.c_str(), target) && target != "/dev/null" ? target
                                                                                 : std::string();
}

} // namespace

ProcessTree::ProcessTree(std::vector<TreeProcess> processes)
    : m_processes(std::move(processes))
{
    std::sort(m_processes.begin(), m_processes.end(),
              [](const auto &left, const auto &right) { return left.pid() < right.pid(); });
}

ProcessTree ProcessTree::read()
{
    const FileDescriptor root = ProcFs::openRoot();
    if (!root || ProcFs::numbering(root.get()) != ProcFs::Numbering::Own) {
        return {};
    }
    std::vector<TreeProcess> found;
    for (const ProcFs::ProcessEntry &entry : ProcFs::processes(root.get())) {
        if (std::optional<TreeProcess> process = readProcess(root.get(), entry.pid)) {
            found.push_back(*std::move(process));
        }
    }
    return ProcessTree(std::move(found));
}

const TreeProcess *ProcessTree::find(std::int32_t pid) const
{
    const auto found = std::lower_bound(
        m_processes.begin(), m_processes.end(), pid,
        [](const TreeProcess &one, std::int32_t other) { return one.pid() < other; });
    return found != m_processes.end() && found->pid() == pid ? &*found : nullptr;
}

std::vector<const TreeProcess *> ProcessTree::children(std::int32_t pid) const
{
    std::vector<const TreeProcess *> found;
    for (const TreeProcess &process : m_processes) {
        if (process.parent == pid && !process.hasEnded) {
            found.push_back(&process);
        }
    }
    return found;
}

bool ProcessTree::isBelow(std::int32_t pid, std::int32_t ancestor) const
{
    // Identifiers may be used again while the tree is read: no more steps than processes.
    const TreeProcess *process = find(pid);
    for (std::size_t step = 0; process != nullptr && step <= m_processes.size(); ++step) {
        if (process->pid() == ancestor) {
            return true;
        }
        process = find(process->parent);
    }
    return false;
}

std::vector<std::string> argumentsOf(std::int32_t pid)
{
    const FileDescriptor root = ProcFs::openRoot();
    const FileDescriptor file = ProcFs::openOfProcess(root.get(), pid, "/cmdline");
    std::string text;
    if (!file || !ProcFs::readWhole(file.get(), text, maxCommandLineBytes)) {
        return {};
    }
    std::vector<std::string> arguments = ProcessInspector::splitArguments(text);
    std::transform(arguments.begin(), arguments.end(), arguments.begin(),
                   [](const std::string &argument) { return Utf8::sanitized(argument); });
    return arguments;
}

bool shareOutput(std::int32_t first, std::int32_t second)
{
    constexpr int standardOutput = 1;
    constexpr int standardError = 2;
    const FileDescriptor root = ProcFs::openRoot();
    for (const int descriptor : {standardOutput, standardError}) {
        const std::string output = outputOf(root.get(), first, descriptor);
        if (!output.empty() && output == outputOf(root.get(), second, descriptor)) {
            return true;
        }
    }
    return false;
}

} // namespace Tarnwick

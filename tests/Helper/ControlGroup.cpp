// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Helper/ControlGroup.h"

#include "Helper/linux/ControlGroups.h"

#include <chrono>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace Tarnwick {

std::optional<ControlGroup> ControlGroup::make(std::string_view name)
{
    std::ostringstream mounts;
    mounts << std::ifstream("/proc/self/mountinfo").rdbuf();
    const std::optional<std::string> point = ControlGroups::mountPoint(mounts.str());
    if (!point) {
        return std::nullopt;
    }
    // The process's own identifier keeps two test programs apart.
    const std::string own = "tarnwick-" + std::to_string(::getpid()) + "-" + std::string(name);
    std::filesystem::path folder = std::filesystem::path(*point) / own;
    if (::mkdir(folder.c_str(), 0755) != 0) {
        return std::nullopt;
    }
    return ControlGroup(std::move(folder));
}

std::optional<ControlGroup> ControlGroup::makeBelow(std::string_view name) const
{
    std::filesystem::path folder = m_folder / name;
    if (::mkdir(folder.c_str(), 0755) != 0) {
        return std::nullopt;
    }
    return ControlGroup(std::move(folder));
}

ControlGroup::ControlGroup(ControlGroup &&other) noexcept
    : m_folder(std::exchange(other.m_folder, {}))
{
}

ControlGroup::~ControlGroup()
{
    // A process leaves its group a moment after its end can be seen.
    constexpr int attempts = 500;
    for (int attempt = 0; !m_folder.empty() && attempt < attempts && ::rmdir(m_folder.c_str()) != 0;
         ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

bool ControlGroup::take(pid_t pid) const
{
    std::ofstream processes(m_folder / "cgroup.procs");
    processes << pid << std::flush;
    return processes.good();
}

} // namespace Tarnwick

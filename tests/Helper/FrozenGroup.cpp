// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Helper/FrozenGroup.h"

#include <chrono>
#include <fstream>
#include <string>
#include <system_error>

#include <poll.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

using Clock = std::chrono::steady_clock;

bool write(const std::filesystem::path &file, const std::string &text)
{
    std::ofstream stream(file);
    stream << text << std::flush;
    return stream.good();
}

std::string read(const std::filesystem::path &file)
{
    std::ifstream stream(file);
    std::string word;
    stream >> word;
    return word;
}

bool awaitState(const std::filesystem::path &folder, const std::string &state)
{
    const auto deadline = Clock::now() + std::chrono::seconds(5);
    while (read(folder / "freezer.state") != state && Clock::now() < deadline) {
        ::poll(nullptr, 0, 2);
    }
    return read(folder / "freezer.state") == state;
}

} // namespace

FrozenGroup::FrozenGroup()
    : m_folder("/sys/fs/cgroup/freezer/tarnwick-test-" + std::to_string(::getpid()))
{
    std::error_code ignored;
    std::filesystem::create_directory(m_folder, ignored);
}

FrozenGroup::~FrozenGroup()
{
    std::error_code error;
    if (!std::filesystem::exists(m_folder, error)) {
        return;
    }
    static_cast<void>(write(m_folder / "freezer.state", "THAWED"));
    const auto deadline = Clock::now() + std::chrono::seconds(5);
    while (!std::filesystem::remove(m_folder, error) && error && Clock::now() < deadline) {
        for (std::string pid = read(m_folder / "cgroup.procs"); !pid.empty(); pid.clear()) {
            static_cast<void>(write(m_folder.parent_path() / "cgroup.procs", pid));
        }
        ::poll(nullptr, 0, 2);
    }
}

bool FrozenGroup::freeze(pid_t pid) const
{
    return write(m_folder / "cgroup.procs", std::to_string(pid)) &&
           write(m_folder / "freezer.state", "FROZEN") && awaitState(m_folder, "FROZEN");
}

} // namespace Tarnwick

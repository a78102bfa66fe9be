// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/HelperProcess.h"

#include "tests/Support/HelperProgram.h"

#include <fstream>
#include <iterator>
#include <limits>

namespace Tarnwick {

namespace {

std::vector<std::string> commandWith(const std::vector<std::string> &arguments)
{
    std::vector<std::string> command{HelperProcess::program().string()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

} // namespace

HelperProcess::HelperProcess(const PrivateBus &bus, const std::vector<std::string> &arguments)
    : m_process(commandWith(arguments),
                {.output = m_folder.path() / "output", .environment = bus.environment()})
{
}

std::filesystem::path HelperProcess::program()
{
    return helperProgram;
}

std::string HelperProcess::output() const
{
    std::ifstream file(m_folder.path() / "output");
    return {std::istreambuf_iterator<char>(file), {}};
}

std::size_t HelperProcess::memory(std::string_view which) const
{
    std::ifstream file("/proc/" + std::to_string(pid()) + "/status");
    std::size_t size = 0;
    for (std::string word; file >> word;) {
        if (word == which && file >> size) {
            return size;
        }
    }
    return std::numeric_limits<std::size_t>::max();
}

} // namespace Tarnwick

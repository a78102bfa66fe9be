// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/HelperProgram.h"

#include "Platform/linux/InstallFolders.h"

#include <string>
#include <system_error>

namespace Tarnwick {

namespace {

constexpr const char *programName = "tarnwick-helper";

} // namespace

HelperProgram HelperProgram::besideApplication(const std::filesystem::path &folder)
{
    const std::filesystem::path beside = folder / programName;
    std::error_code failed;
    if (std::filesystem::exists(beside, failed)) {
        return {.path = beside, .isInstalled = false};
    }
    return {.path = (folder / helperFolderFromApplication / programName).lexically_normal(),
            .isInstalled = true};
}

bool HelperProgram::isRunBy(pid_t pid) const
{
    const std::filesystem::path link = "/proc/" + std::to_string(pid) + "/exe";
    std::error_code failed;
    if (std::filesystem::equivalent(link, path, failed)) {
        return true;
    }
    // proc(5): what the kernel adds to the name of a file that is gone.
    const std::filesystem::path running = std::filesystem::read_symlink(link, failed);
    const std::filesystem::path ours = std::filesystem::weakly_canonical(path, failed);
    return !failed && running == ours.string() + " (deleted)";
}

} // namespace Tarnwick

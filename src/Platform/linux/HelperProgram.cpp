// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/HelperProgram.h"

#include "Platform/linux/InstallFolders.h"

#include <string>
#include <string_view>
#include <system_error>

namespace Tarnwick {

namespace {

constexpr const char *programName = "tarnwick-helper";

/// proc(5): what the kernel adds to the path of a file that is deleted.
constexpr std::string_view deletedMark = " (deleted)";

std::filesystem::path processFolder(pid_t pid)
{
    return "/proc/" + std::to_string(pid);
}

/// What a link of procfs says; empty when it may not be read.
std::string linkText(const std::filesystem::path &link)
{
    std::error_code failed;
    return std::filesystem::read_symlink(link, failed).string();
}

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

std::string HelperProgram::executableOf(pid_t pid)
{
    return linkText(processFolder(pid) / "exe");
}

HelperProgram::Relation HelperProgram::relationOf(pid_t pid) const
{
    const std::filesystem::path process = processFolder(pid);
    std::string running = linkText(process / "exe");
    const bool isDeleted = running.ends_with(deletedMark);
    if (isDeleted) {
        running.resize(running.size() - deletedMark.size());
    }
    std::error_code failed;
    const std::filesystem::path own = std::filesystem::weakly_canonical(path, failed);
    if (!failed && running == own.string() &&
        linkText(process / "ns/mnt") == linkText("/proc/self/ns/mnt")) {
        return isDeleted ? Relation::Former : Relation::Same;
    }
    return std::filesystem::path(running).filename() == programName && running != own.string()
               ? Relation::OtherCopy
               : Relation::Stranger;
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ForeignExecutable.h"

#include "Helper/ProcessName.h"
#include "Helper/linux/CachedPath.h"

#include <array>

#include <unistd.h>

namespace Tarnwick {

namespace {

/// Where the Filesystem Hierarchy Standard keeps programs, in the order of a root user's PATH.
constexpr std::array<std::string_view, 6> standardFolders{
    "/usr/local/sbin/", "/usr/local/bin/", "/usr/sbin/", "/usr/bin/", "/sbin/", "/bin/"};

std::string inStandardFolder(std::string_view name)
{
    if (name.empty() || name.find('/') != std::string_view::npos) {
        return {};
    }
    for (const std::string_view folder : standardFolders) {
        std::string path(folder);
        path += name;
        if (::access(path.c_str(), X_OK) == 0) {
            return path;
        }
    }
    return {};
}

/// The path in a first argument that begins with a slash. A blank in it is either part of the path
/// or the beginning of what a title says more; in a title only a word that begins with the command
/// name is trusted.
std::string fromFullPath(std::string_view comm, const std::string &argument)
{
    if (argument.find(' ') == std::string::npos || CachedPath::exists(argument)) {
        return argument;
    }
    const std::string_view word = ProcessName::firstWord(argument);
    return ProcessName::baseName(word).starts_with(comm) ? std::string(word) : std::string{};
}

} // namespace

std::string ForeignExecutable::find(std::string_view comm, std::span<const std::string> arguments)
{
    if (arguments.empty()) {
        return {}; // a thread of the kernel, or a process that has ended
    }
    const std::string &first = arguments.front();
    if (first.starts_with('/')) {
        if (std::string path = fromFullPath(comm, first); !path.empty()) {
            return path;
        }
    }
    // The command name is what the kernel cut; the first argument may have it whole.
    const std::string_view called = ProcessName::baseName(ProcessName::firstWord(first));
    if (ProcessName::isCommandNameOf(comm, called)) {
        return inStandardFolder(called);
    }
    std::string path = inStandardFolder(comm);
    // A runtime may have renamed its main thread; but a word of a title is not what was called.
    const bool isTitle = first.find_first_of(" :") != std::string::npos;
    return path.empty() && !isTitle ? inStandardFolder(called) : path;
}

} // namespace Tarnwick

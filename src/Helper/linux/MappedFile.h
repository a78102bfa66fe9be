// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>

namespace Tarnwick {

/// Which file a process has mapped, by the text of /proc/PID/maps (proc(5)): the kernel writes it
/// without asking a file system. Any thread.
class MappedFile
{
public:
    MappedFile() = delete;

    /// Device and inode, "fd:01 4711", of the file that @p maps has under @p path; empty where
    /// there is none, as for a path with a line feed, which is written in another way.
    [[nodiscard]] static std::string find(std::string_view maps, std::string_view path);
};

} // namespace Tarnwick

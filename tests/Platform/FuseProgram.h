// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"
#include "tests/Support/TemporaryFolder.h"

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <string>
#include <thread>

struct fuse_in_header;

namespace Tarnwick {

/// A program on a file system in user space (fuse(4)) that the test serves, and may stop serving:
/// then whatever asks the file system about the program waits. Nothing is cached by the kernel but
/// what was read of the program.
class FuseProgram
{
public:
    /// Serves a copy of @p program under @p name.
    FuseProgram(const std::filesystem::path &program, std::string name);
    ~FuseProgram();
    FuseProgram(const FuseProgram &) = delete;
    FuseProgram &operator=(const FuseProgram &) = delete;

    /// False where this user may not mount file systems, or the kernel has no such kind.
    [[nodiscard]] bool isMounted() const { return m_isMounted; }
    [[nodiscard]] std::filesystem::path path() const { return m_folder.path() / m_name; }

    /// Stops serving, and goes on.
    void pause() { m_isPaused = true; }
    void resume() { m_isPaused = false; }

private:
    void serve();
    void answer(const fuse_in_header &request, const char *body);
    void reply(const fuse_in_header &request, int error, const void *data, std::size_t size) const;

    TemporaryFolder m_folder;
    std::string m_name;
    std::string m_content;
    FileDescriptor m_device;
    bool m_isMounted = false;
    std::atomic<bool> m_isPaused = false;
    std::atomic<bool> m_isOver = false;
    std::thread m_server;
};

} // namespace Tarnwick

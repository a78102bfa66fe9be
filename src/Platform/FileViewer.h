// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <filesystem>
#include <memory>

namespace Tarnwick {

/// The desktop's program that shows the files of a folder. Main thread.
class FileViewer
{
public:
    FileViewer() = default;
    virtual ~FileViewer() = default;
    FileViewer(const FileViewer &) = delete;
    FileViewer &operator=(const FileViewer &) = delete;

    /// Asks for a window in which @p file, an absolute path, is selected; it need not exist. Does
    /// not wait, and a failure is not told: the user sees that no window comes.
    virtual void reveal(const std::filesystem::path &file) = 0;

    /// The one of this desktop.
    [[nodiscard]] static std::unique_ptr<FileViewer> ofThisDesktop();
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/FileViewer.h"

#include <QByteArray>

namespace Tarnwick {

/// The file manager of the session (freedesktop.org's File Manager D-Bus Interface 1), which the
/// session bus starts when it does not run. Where there is none, or it refuses, the desktop's
/// opener, xdg-open(1), is given the file's folder.
class BusFileViewer : public FileViewer
{
public:
    void reveal(const std::filesystem::path &file) override;

    /// @p file as a URL, every byte of its path kept.
    [[nodiscard]] static QByteArray url(const std::filesystem::path &file);
};

} // namespace Tarnwick

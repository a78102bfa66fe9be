// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/FileViewer.h"

#include <filesystem>
#include <vector>

namespace Tarnwick {

/// A file viewer that only writes down what it shall show.
class FakeFileViewer : public FileViewer
{
public:
    void reveal(const std::filesystem::path &file) override { revealed.push_back(file); }

    std::vector<std::filesystem::path> revealed;
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace Tarnwick {

/// A copy of an application's bundle into a folder for applications, under the same name.
struct BundleCopy
{
    std::string source;       ///< the full path of the bundle, without a slash at its end
    std::string applications; ///< the folder, with a slash at its end

    /// Where the copy is to be.
    [[nodiscard]] std::string target() const;

    /// The command for the shell of a system whose bundles are copied by one: it removes what is in
    /// the place of the copy, and copies everything that is in the bundle.
    [[nodiscard]] std::string shellCommand() const;
};

} // namespace Tarnwick

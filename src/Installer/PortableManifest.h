// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// One file of a portable copy.
struct PortableFile
{
    std::string path; ///< relative to the copy's folder, in the bytes of the file system
    bool isProgram = false;

    static constexpr std::size_t maxComponents = 32; ///< of a path, the name included

    /// Its permissions once it is installed: 0755 or 0644.
    [[nodiscard]] mode_t mode() const { return isProgram ? 0755 : 0644; }

    /// One line of a list, without the line feed: `755` or `644`, a blank, the path. Nothing for
    /// any other line, and for a path that is absolute, longer than PATH_MAX, has more than
    /// maxComponents, leads out of the folder (an empty component, "." or ".."), holds a control
    /// character, or is the list itself.
    [[nodiscard]] static std::optional<PortableFile> parse(std::string_view line);
    [[nodiscard]] std::string line() const;

    friend bool operator==(const PortableFile &, const PortableFile &) = default;
};

/// The marker of a portable copy, which lists the files that it consists of: the line
/// `tarnwick-portable 1`, then one line for each file. What else lies in the folder is no part of
/// the copy. The marker does not list itself. No Qt; throws nothing but std::bad_alloc.
struct PortableManifest
{
    static constexpr const char *fileName = ".tarnwick-portable";
    static constexpr std::size_t maxFiles = 10'000;
    static constexpr std::size_t maxBytes = 2UL * 1024 * 1024; ///< of the text

    std::vector<PortableFile> files;

    /// Nothing where any line is wrong, a file is listed twice, or there are too many; @p problem
    /// then gets the reason in words, without a path.
    [[nodiscard]] static std::optional<PortableManifest> parse(std::string_view text,
                                                               std::string *problem = nullptr);
    /// The first lines of @p text that are whole and right, as of a list that was being written
    /// when its writer ended. Nothing where not even the first line is.
    [[nodiscard]] static std::optional<PortableManifest> parseUnfinished(std::string_view text);
    /// The first line, with its line feed.
    [[nodiscard]] static std::string firstLine();
    [[nodiscard]] std::string text() const;
    [[nodiscard]] bool lists(const PortableFile &file) const;
};

} // namespace Tarnwick

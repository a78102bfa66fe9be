// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/PortableManifest.h"

#include <algorithm>
#include <climits>
#include <set>
#include <utility>

namespace Tarnwick {

namespace {

constexpr std::string_view header = "tarnwick-portable 1";
constexpr std::string_view programMode = "755 ";
constexpr std::string_view fileMode = "644 ";

bool isControl(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7f;
}

bool isComponent(std::string_view name)
{
    return !name.empty() && name != "." && name != ".." && name.size() <= NAME_MAX;
}

bool isRelativePath(std::string_view path)
{
    if (path.size() >= PATH_MAX || path == PortableManifest::fileName ||
        std::any_of(path.begin(), path.end(), &isControl)) {
        return false;
    }
    for (std::size_t count = 0; count < PortableFile::maxComponents; ++count) {
        const std::size_t slash = path.find('/');
        if (!isComponent(path.substr(0, slash))) {
            return false;
        }
        if (slash == std::string_view::npos) {
            return true;
        }
        path.remove_prefix(slash + 1);
    }
    return false;
}

struct Reading
{
    std::optional<PortableManifest> manifest; ///< up to the first line that is wrong
    std::string problem;                      ///< empty where all lines are right
};

/// Why no @p file was read from a line; empty where it is right to go on.
std::string problemWith(const std::optional<PortableFile> &file, std::size_t listed)
{
    if (listed == PortableManifest::maxFiles) {
        return "more than " + std::to_string(PortableManifest::maxFiles) + " files";
    }
    return file ? std::string()
                : "not a mode and a path inside of the folder of at most " +
                      std::to_string(PortableFile::maxComponents) + " components";
}

Reading readLines(std::string_view text)
{
    if (text.substr(0, text.find('\n')) != header) {
        return {.manifest = {}, .problem = "the first line is not '" + std::string(header) + "'"};
    }
    text.remove_prefix(std::min(text.size(), header.size() + 1));
    Reading reading{.manifest = PortableManifest(), .problem = {}};
    std::vector<PortableFile> &files = reading.manifest->files;
    std::set<std::string_view> paths;
    for (std::size_t number = 2; !text.empty(); ++number) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        std::optional<PortableFile> file = PortableFile::parse(line);
        std::string problem = problemWith(file, files.size());
        if (problem.empty() && !paths.insert(line.substr(programMode.size())).second) {
            problem = "a file that is listed already";
        }
        if (!problem.empty()) {
            reading.problem = "line " + std::to_string(number) + ": " + problem;
            return reading;
        }
        files.push_back(std::move(*file));
    }
    return reading;
}

} // namespace

std::optional<PortableFile> PortableFile::parse(std::string_view line)
{
    const bool isProgram = line.starts_with(programMode);
    if (!isProgram && !line.starts_with(fileMode)) {
        return std::nullopt;
    }
    const std::string_view path = line.substr(programMode.size());
    if (!isRelativePath(path)) {
        return std::nullopt;
    }
    return PortableFile{.path = std::string(path), .isProgram = isProgram};
}

std::string PortableFile::line() const
{
    return std::string(isProgram ? programMode : fileMode) + path;
}

std::optional<PortableManifest> PortableManifest::parse(std::string_view text, std::string *problem)
{
    Reading reading = readLines(text);
    if (reading.problem.empty()) {
        return std::move(reading.manifest);
    }
    if (problem != nullptr) {
        *problem = std::move(reading.problem);
    }
    return std::nullopt;
}

std::optional<PortableManifest> PortableManifest::parseUnfinished(std::string_view text)
{
    return readLines(text.substr(0, text.rfind('\n') + 1)).manifest;
}

std::string PortableManifest::firstLine()
{
    return std::string(header) + '\n';
}

bool PortableManifest::lists(const PortableFile &file) const
{
    return std::find(files.begin(), files.end(), file) != files.end();
}

std::string PortableManifest::text() const
{
    std::string result = firstLine();
    for (const PortableFile &file : files) {
        result += file.line() + '\n';
    }
    return result;
}

} // namespace Tarnwick

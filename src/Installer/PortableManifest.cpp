// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/PortableManifest.h"

#include <algorithm>
#include <climits>
#include <set>

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
    while (true) {
        const std::size_t slash = path.find('/');
        if (!isComponent(path.substr(0, slash))) {
            return false;
        }
        if (slash == std::string_view::npos) {
            return true;
        }
        path.remove_prefix(slash + 1);
    }
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

std::optional<PortableManifest> PortableManifest::parse(std::string_view text)
{
    PortableManifest manifest;
    std::set<std::string_view> paths;
    bool isFirst = true;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (isFirst) {
            isFirst = false;
            if (line != header) {
                return std::nullopt;
            }
            continue;
        }
        const std::optional<PortableFile> file = PortableFile::parse(line);
        const std::string_view path = line.substr(std::min(line.size(), programMode.size()));
        if (!file || !paths.insert(path).second || manifest.files.size() == maxFiles) {
            return std::nullopt;
        }
        manifest.files.push_back(*file);
    }
    return isFirst ? std::nullopt : std::optional(manifest);
}

std::string PortableManifest::text() const
{
    std::string result(header);
    result += '\n';
    for (const PortableFile &file : files) {
        result += file.line() + '\n';
    }
    return result;
}

} // namespace Tarnwick

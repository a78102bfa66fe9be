// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/UnitFiles.h"

#include "Helper/linux/ProcFs.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

/// systemd.unit(5), "Unit File Load Path". /lib is /usr/lib where the two are merged.
constexpr std::array<std::string_view, 13> foldersOfSystem{
    "/etc/systemd/system.control",   "/run/systemd/system.control",  "/run/systemd/transient",
    "/run/systemd/generator.early",  "/etc/systemd/system",          "/etc/systemd/system.attached",
    "/run/systemd/system",           "/run/systemd/system.attached", "/run/systemd/generator",
    "/usr/local/lib/systemd/system", "/usr/lib/systemd/system",      "/lib/systemd/system",
    "/run/systemd/generator.late"};

constexpr std::size_t maxFileBytes = 64UL * 1024;
constexpr std::size_t maxUnits = 4096;

struct CloseDirectory
{
    void operator()(DIR *directory) const { ::closedir(directory); }
};

/// The names in a folder that end with @p suffix, in order.
std::set<std::string> namesIn(const std::string &folder, std::string_view suffix)
{
    std::set<std::string> names;
    const std::unique_ptr<DIR, CloseDirectory> stream(::opendir(folder.c_str()));
    for (const dirent *entry = stream ? ::readdir(stream.get()) : nullptr;
         entry != nullptr && names.size() < maxUnits; entry = ::readdir(stream.get())) {
        const std::string_view name = entry->d_name;
        if (name.size() > suffix.size() && name.ends_with(suffix)) {
            names.emplace(name);
        }
    }
    return names;
}

bool isThere(const std::string &path)
{
    return ::access(path.c_str(), F_OK) == 0;
}

/// A regular file's content. A masked unit is a link to /dev/null, and empty.
std::string read(const std::string &path)
{
    std::string text;
    struct stat status = {};
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (file && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode)) {
        ProcFs::readWhole(file.get(), text, maxFileBytes);
    }
    return text;
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r";
    const std::size_t begin = text.find_first_not_of(blanks);
    return begin == std::string_view::npos
               ? std::string_view()
               : text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

/// "foo@.service" of "foo@bar.service"; the unit itself when it is no instance.
std::string templateOf(const std::string &unit)
{
    const std::size_t at = unit.find('@');
    const std::size_t dot = unit.rfind('.');
    const bool isInstance = at != std::string::npos && dot != std::string::npos && at < dot;
    return isInstance ? unit.substr(0, at + 1) + unit.substr(dot) : unit;
}

/// An environment variable of this process, or @p otherwise where it has none.
std::string environment(const char *name, std::string otherwise)
{
    const char *const value = std::getenv(name);
    return value != nullptr && *value == '/' ? value : std::move(otherwise);
}

} // namespace

UnitFiles::UnitFiles(std::vector<std::string> folders)
    : m_folders(std::move(folders))
{
}

UnitFiles UnitFiles::ofSystem()
{
    return UnitFiles({foldersOfSystem.begin(), foldersOfSystem.end()});
}

UnitFiles UnitFiles::ofUser(uid_t user)
{
    const bool isOwn = user == ::geteuid();
    const std::string home = isOwn ? environment("HOME", {}) : std::string();
    const std::string runtime = "/run/user/" + std::to_string(user);
    std::vector<std::string> folders;
    const auto add = [&folders](const std::string &base, const char *rest) {
        if (!base.empty()) {
            folders.push_back(base + rest);
        }
    };
    const std::string config =
        home.empty() ? home : environment("XDG_CONFIG_HOME", home + "/.config");
    const std::string data =
        home.empty() ? home : environment("XDG_DATA_HOME", home + "/.local/share");
    add(config, "/systemd/user.control");
    add(runtime, "/systemd/user.control");
    add(runtime, "/systemd/transient");
    add(runtime, "/systemd/generator.early");
    add(config, "/systemd/user");
    add("/etc", "/systemd/user");
    add(runtime, "/systemd/user");
    add("/run", "/systemd/user");
    add(runtime, "/systemd/generator");
    add(data, "/systemd/user");
    add("/usr/local", "/lib/systemd/user");
    add("/usr/lib", "/systemd/user");
    add(runtime, "/systemd/generator.late");
    return UnitFiles(std::move(folders));
}

/// The file of the unit, and its drop-ins in the order in which they apply: by their names, of
/// which each folder hides those in the folders behind it.
std::vector<std::string> UnitFiles::files(const std::string &unit) const
{
    std::vector<std::string> found;
    std::map<std::string, std::string> dropIns;
    for (const std::string &name : {unit, templateOf(unit)}) {
        for (const std::string &folder : m_folders) {
            if (found.empty() && isThere(folder + '/' + name)) {
                found.push_back(folder + '/' + name);
            }
            const std::string below = folder + '/' + name + ".d";
            for (const std::string &file : namesIn(below, ".conf")) {
                dropIns.try_emplace(file, below + '/' + file);
            }
        }
    }
    for (const auto &[name, path] : dropIns) {
        found.push_back(path);
    }
    return found;
}

bool UnitFiles::has(const std::string &unit) const
{
    return std::any_of(m_folders.begin(), m_folders.end(), [&unit](const std::string &folder) {
        return isThere(folder + '/' + unit) || isThere(folder + '/' + templateOf(unit));
    });
}

std::vector<std::string> UnitFiles::values(const std::string &unit, std::string_view section,
                                           std::string_view key) const
{
    std::vector<std::string> found;
    for (const std::string &file : files(unit)) {
        parse(read(file), section, key, found);
    }
    return found;
}

std::string UnitFiles::value(const std::string &unit, std::string_view section,
                             std::string_view key) const
{
    std::vector<std::string> all = values(unit, section, key);
    return all.empty() ? std::string() : std::move(all.back());
}

void UnitFiles::parse(std::string_view text, std::string_view section, std::string_view key,
                      std::vector<std::string> &values)
{
    bool isInSection = false;
    while (!text.empty()) {
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        line = trimmed(line);
        if (line.empty() || line.front() == '#' || line.front() == ';') {
            continue;
        }
        if (line.front() == '[') {
            isInSection =
                line.size() == section.size() + 2 && line.substr(1, section.size()) == section;
            continue;
        }
        const std::size_t equals = line.find('=');
        if (!isInSection || equals == std::string_view::npos ||
            trimmed(line.substr(0, equals)) != key) {
            continue;
        }
        const std::string_view value = trimmed(line.substr(equals + 1));
        if (value.empty()) {
            values.clear();
        } else {
            values.emplace_back(value);
        }
    }
}

std::optional<std::uint16_t> UnitFiles::portOf(std::string_view listenStream)
{
    // A path, a name of the abstract namespace, and "vsock:CID:PORT" are other sockets.
    const std::size_t colon = listenStream.rfind(':');
    const std::string_view address =
        listenStream.substr(0, colon == std::string_view::npos ? 0 : colon);
    const bool isBracketed = address.starts_with('[') && address.ends_with(']');
    const bool isV4 = address.find_first_not_of("0123456789.") == std::string_view::npos;
    if (!isBracketed && !isV4) {
        return std::nullopt;
    }
    const std::string_view text =
        listenStream.substr(colon == std::string_view::npos ? 0 : colon + 1);
    std::uint16_t port = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), port);
    const bool isNumber = parsed.ec == std::errc{} && parsed.ptr == text.data() + text.size();
    return isNumber && port != 0 ? std::optional(port) : std::nullopt;
}

std::vector<std::string> UnitFiles::namesOfSocketUnits() const
{
    std::set<std::string> names;
    for (const std::string &folder : m_folders) {
        names.merge(namesIn(folder, ".socket"));
    }
    std::erase_if(names, [](const std::string &name) { return name.ends_with("@.socket"); });
    return {names.begin(), names.end()};
}

/// Whether the unit is started with the manager.
bool UnitFiles::isWanted(const std::string &unit) const
{
    return std::any_of(m_folders.begin(), m_folders.end(), [&unit](const std::string &folder) {
        return isThere(folder + "/sockets.target.wants/" + unit);
    });
}

std::optional<std::string> UnitFiles::socketUnit(std::uint16_t port) const
{
    std::vector<std::string> found;
    for (const std::string &unit : namesOfSocketUnits()) {
        const std::vector<std::string> streams = values(unit, "Socket", "ListenStream");
        if (std::any_of(streams.begin(), streams.end(),
                        [port](const std::string &stream) { return portOf(stream) == port; })) {
            found.push_back(unit);
        }
    }
    if (found.size() > 1) {
        std::erase_if(found, [this](const std::string &unit) { return !isWanted(unit); });
    }
    return found.size() == 1 ? std::optional(found.front()) : std::nullopt;
}

std::string UnitFiles::serviceOf(const std::string &socketUnit) const
{
    constexpr std::string_view suffix = ".socket";
    std::string service = value(socketUnit, "Socket", "Service");
    if (!service.empty()) {
        return service;
    }
    const std::string accept = value(socketUnit, "Socket", "Accept");
    const bool isForEach = accept == "yes" || accept == "true" || accept == "on" || accept == "1";
    const std::size_t size = socketUnit.size() - (socketUnit.ends_with(suffix) ? suffix.size() : 0);
    return socketUnit.substr(0, size) + (isForEach ? "@.service" : ".service");
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/SessionSockets.h"

#include "Helper/linux/LocalHost.h"
#include "Helper/linux/SystemFailures.h"
#include "Shared/FileDescriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <tuple>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

using Address = SessionSockets::Address;
using Part = SessionGuard::Part;

constexpr const char *displayFolder = "/tmp/.X11-unix";
constexpr const char *systemBus = "/run/dbus/system_bus_socket";

std::string_view variable(const char *name)
{
    const char *const value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// Takes what stands before the next @p separator off @p text.
std::string_view takeUntil(std::string_view &text, char separator)
{
    const std::string_view taken = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(text.size(), taken.size() + 1));
    return taken;
}

/// Undoes the escapes of a bus address, a percent sign and two hexadecimal digits.
std::string unescaped(std::string_view text)
{
    constexpr std::size_t digits = 2;
    constexpr int hexadecimal = 16;
    std::string result;
    while (!text.empty()) {
        unsigned char code = 0;
        const char *const first = text.data() + 1;
        if (text.front() == '%' && text.size() > digits &&
            std::from_chars(first, first + digits, code, hexadecimal).ptr == first + digits) {
            result += static_cast<char>(code);
            text.remove_prefix(1 + digits);
        } else {
            result += text.front();
            text.remove_prefix(1);
        }
    }
    return result;
}

bool isNumber(std::string_view text)
{
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// A port, nothing for what is none.
std::optional<std::uint16_t> toPort(std::string_view text, unsigned offset = 0)
{
    std::uint32_t number = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
    constexpr std::uint32_t greatest = 65535;
    if (!isNumber(text) || parsed.ec != std::errc{} || number > greatest - offset ||
        number + offset == 0) {
        return std::nullopt;
    }
    return static_cast<std::uint16_t>(number + offset);
}

std::string runtimeFolder(uid_t user)
{
    return "/run/user/" + std::to_string(user);
}

/// The sockets in folders that others may write to.
class SharedFolders
{
public:
    /// Appends the sockets in a folder whose names are @p prefix and more and that @p accept takes
    /// by name and owner, each under one of its names. 0, or the errno of a failure that says
    /// nothing about the folder.
    template<class Accept>
    int append(const std::string &folder, std::string_view prefix, const Accept &accept,
               std::vector<Address> &found);

private:
    static constexpr int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;

    static FileDescriptor open(const std::string &folder);

    std::set<std::tuple<std::uint32_t, std::uint32_t, std::uint64_t>> m_files;
    std::size_t m_seen = 0;
};

FileDescriptor SharedFolders::open(const std::string &folder)
{
    // Nobody but root can replace a link of root's in /tmp.
    struct statx status = {};
    const bool isLinkOfRoot =
        ::statx(AT_FDCWD, folder.c_str(), flags, STATX_TYPE | STATX_UID, &status) == 0 &&
        S_ISLNK(status.stx_mode) && status.stx_uid == 0;
    return FileDescriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC |
                                                     (isLinkOfRoot ? 0 : O_NOFOLLOW)));
}

template<class Accept>
int SharedFolders::append(const std::string &folder, std::string_view prefix, const Accept &accept,
                          std::vector<Address> &found)
{
    constexpr std::array<int, 4> notThere{ENOENT, ENOTDIR, ELOOP, EACCES};
    constexpr std::size_t mostSeen = 65536;
    FileDescriptor descriptor = open(folder);
    if (!descriptor) {
        const int code = errno;
        return std::find(notThere.begin(), notThere.end(), code) != notThere.end() ? 0 : code;
    }
    const auto close = [](DIR *open) { ::closedir(open); };
    const std::unique_ptr<DIR, decltype(close)> entries(::fdopendir(descriptor.get()), close);
    if (!entries) {
        return errno;
    }
    const int directory = descriptor.release();
    errno = 0;
    while (const dirent *const entry = ::readdir(entries.get())) {
        const std::string name(static_cast<const char *>(entry->d_name));
        const bool mayBeSocket = entry->d_type == DT_SOCK || entry->d_type == DT_UNKNOWN;
        if (++m_seen > mostSeen) {
            return E2BIG;
        }
        errno = 0;
        struct statx status = {};
        if (name.starts_with(prefix) && mayBeSocket &&
            ::statx(directory, name.c_str(), flags, STATX_TYPE | STATX_UID | STATX_INO, &status) ==
                0 &&
            S_ISSOCK(status.stx_mode) && accept(name, status.stx_uid) &&
            m_files.emplace(status.stx_dev_major, status.stx_dev_minor, status.stx_ino).second) {
            found.push_back({.kind = Address::Kind::Path,
                             .name = folder + "/" + name,
                             .part = Part::DisplayServer,
                             .followsLinks = false});
        }
        if (SystemFailures::isTransient(errno)) {
            return errno;
        }
        if (m_files.size() > SessionSockets::mostInFolders) {
            return E2BIG;
        }
        errno = 0;
    }
    return errno;
}

int appendDisplays(std::span<const uid_t> users, std::vector<Address> &found)
{
    const auto isOfUsers = [users](const std::string &name, uid_t owner) {
        return isNumber(std::string_view(name).substr(1)) &&
               std::find(users.begin(), users.end(), owner) != users.end();
    };
    const std::size_t before = found.size();
    SharedFolders folders;
    int code = folders.append(displayFolder, "X", isOfUsers, found);
    // A server may listen at the abstract name only besides.
    for (std::size_t at = before, end = found.size(); at < end; ++at) {
        found.push_back({Address::Kind::Abstract, found[at].name, 0, Part::DisplayServer});
    }
    for (const uid_t user : users) {
        const int failed = folders.append(
            runtimeFolder(user), "wayland-", [](const std::string &, uid_t) { return true; },
            found);
        code = code != 0 ? code : failed;
    }
    return code;
}

std::vector<Address> compositorOfEnvironment()
{
    const std::string name(variable("WAYLAND_DISPLAY"));
    if (name.empty()) {
        return {};
    }
    std::string runtime(variable("XDG_RUNTIME_DIR"));
    if (runtime.empty()) {
        runtime = runtimeFolder(::getuid());
    }
    return {{Address::Kind::Path, name.front() == '/' ? name : runtime + "/" + name, 0,
             Part::DisplayServer}};
}

void append(std::vector<Address> &all, const std::vector<Address> &more)
{
    all.insert(all.end(), more.begin(), more.end());
}

/// The addresses of one bus address, "unix:path=/run/user/1000/bus,guid=1".
std::vector<Address> addressesOfBus(std::string_view one)
{
    const std::string_view transport = takeUntil(one, ':');
    std::map<std::string_view, std::string> values;
    while (!one.empty()) {
        std::string_view value = takeUntil(one, ',');
        const std::string_view key = takeUntil(value, '=');
        values[key] = unescaped(value);
    }
    if (transport == "unix") {
        std::vector<Address> found;
        if (values.contains("path")) {
            found.push_back({Address::Kind::Path, values["path"], 0, Part::MessageBus});
        }
        if (values.contains("abstract")) {
            found.push_back({Address::Kind::Abstract, values["abstract"], 0, Part::MessageBus});
        }
        return found;
    }
    const std::optional<std::uint16_t> port = toPort(values["port"]);
    const bool isTcp = transport == "tcp" || transport == "nonce-tcp";
    const bool isHere = !values.contains("host") || isLocalHost(values["host"]);
    if (!isTcp || !port || (!isHere && !mayBeLocalHost(values["host"]))) {
        return {};
    }
    return {{.kind = Address::Kind::Port,
             .name = {},
             .port = *port,
             .part = Part::MessageBus,
             .mayBeElsewhere = !isHere}};
}

} // namespace

std::variant<std::vector<Address>, int> SessionSockets::addresses(std::span<const uid_t> users)
{
    std::vector<Address> found;
    const auto isOfUsers = [users](uid_t user) {
        return std::find(users.begin(), users.end(), user) != users.end();
    };
    // Under sudo the variables may be those of another session than the process is of.
    const bool isOwn = isOfUsers(::getuid()) || isOfUsers(::geteuid());
    for (const char *const name : {"DBUS_SESSION_BUS_ADDRESS", "DBUS_STARTER_ADDRESS"}) {
        for (Address &bus : busAddresses(variable(name))) {
            bus.isSessionBus = isOwn && !bus.mayBeElsewhere;
            found.push_back(std::move(bus));
        }
    }
    const auto appendBus = [&found](const std::string &path, bool isSessionBus) {
        found.push_back({.kind = Address::Kind::Path,
                         .name = path,
                         .part = Part::MessageBus,
                         .followsLinks = false,
                         .isSessionBus = isSessionBus});
    };
    for (const uid_t user : users) {
        appendBus(runtimeFolder(user) + "/bus", true);
    }
    appendBus(systemBus, false);
    append(found, busAddresses(variable("DBUS_SYSTEM_BUS_ADDRESS")));

    std::vector<Address> displays = displayAddresses(variable("DISPLAY"));
    append(displays, compositorOfEnvironment());
    append(found, displays);
    if (!isOwn || displays.empty()) {
        if (const int code = appendDisplays(users, found); code != 0) {
            return code;
        }
    }
    return found;
}

std::vector<Address> SessionSockets::busAddresses(std::string_view list)
{
    std::vector<Address> found;
    while (!list.empty()) {
        append(found, addressesOfBus(takeUntil(list, ';')));
    }
    return found;
}

std::vector<Address> SessionSockets::displayAddresses(std::string_view display)
{
    constexpr std::string_view local = "unix:";
    constexpr unsigned firstPort = 6000;
    const std::string_view path =
        display.starts_with(local) ? display.substr(local.size()) : display;
    if (path.starts_with('/')) {
        // Either the socket's whole name or one with the number of a screen behind it.
        const Address whole{Address::Kind::Path, std::string(path), 0, Part::DisplayServer};
        const std::size_t dot = path.rfind('.');
        if (dot == std::string_view::npos || !isNumber(path.substr(dot + 1))) {
            return {whole};
        }
        return {whole,
                {Address::Kind::Path, std::string(path.substr(0, dot)), 0, Part::DisplayServer}};
    }
    const std::size_t colon = display.rfind(':');
    if (colon == std::string_view::npos) {
        return {};
    }
    std::string_view host = display.substr(0, colon);
    const std::string_view screens = display.substr(colon + 1);
    const std::string_view number = screens.substr(0, screens.find('.'));
    if (!isNumber(number)) {
        return {};
    }
    const std::size_t slash = host.find('/');
    const std::string_view protocol =
        slash == std::string_view::npos ? std::string_view() : host.substr(0, slash);
    host.remove_prefix(slash == std::string_view::npos ? 0 : slash + 1);
    if (host.empty() || host == "unix" || protocol == "unix" || protocol == "local") {
        const std::string socket = std::string(displayFolder) + "/X" + std::string(number);
        return {{Address::Kind::Path, socket, 0, Part::DisplayServer, false},
                {Address::Kind::Abstract, socket, 0, Part::DisplayServer}};
    }
    const std::optional<std::uint16_t> port = toPort(number, firstPort);
    if (!port || !mayBeLocalHost(host)) {
        return {};
    }
    return {{.kind = Address::Kind::Port,
             .name = {},
             .port = *port,
             .part = Part::DisplayServer,
             .mayBeElsewhere = !isLocalHost(host)}};
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ContainerGroup.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <string>

namespace Tarnwick {

namespace {

struct Prefix
{
    std::string_view text;
    std::string_view runtime;
};

/// What stands before an identifier: in the names of systemd's scopes, and of Podman's groups.
constexpr std::array<Prefix, 7> prefixes{{
    {"docker-", "docker"},
    {"libpod-payload-", "podman"},
    {"libpod-", "podman"},
    {"cri-containerd-", "kubernetes"},
    {"cri-containerd:", "kubernetes"},
    {"crio-", "kubernetes"},
    {"nerdctl-", "containerd"},
}};

bool isHexDigit(char character)
{
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f');
}

bool isNameCharacter(char character)
{
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'z') ||
           (character >= 'A' && character <= 'Z') || character == '.' || character == '_' ||
           character == '-';
}

std::string_view lastComponent(std::string_view path)
{
    return path.substr(path.rfind('/') + 1);
}

std::string_view parent(std::string_view path)
{
    const std::size_t slash = path.rfind('/');
    return path.substr(0, slash == std::string_view::npos ? 0 : slash);
}

bool takePrefix(std::string_view &text, std::string_view prefix)
{
    const bool has = text.starts_with(prefix);
    text.remove_prefix(has ? prefix.size() : 0);
    return has;
}

bool takeSuffix(std::string_view &text, std::string_view suffix)
{
    const bool has = text.ends_with(suffix);
    text.remove_suffix(has ? suffix.size() : 0);
    return has;
}

/// A part of a unit's name as systemd.unit(5) escapes it, "\x2d" for "-".
std::string unescaped(std::string_view text)
{
    constexpr std::size_t escapeSize = 4;
    std::string result;
    while (!text.empty()) {
        unsigned code = 0;
        if (text.starts_with("\\x") && text.size() >= escapeSize &&
            std::from_chars(text.data() + 2, text.data() + escapeSize, code, 16).ptr ==
                text.data() + escapeSize) {
            result += static_cast<char>(code);
            text.remove_prefix(escapeSize);
        } else {
            result += text.front();
            text.remove_prefix(1);
        }
    }
    return result;
}

std::optional<Container> withIdentifier(std::string_view id, std::string_view runtime)
{
    return ContainerGroup::isIdentifier(id)
               ? std::optional(Container{std::string(id), {}, std::string(runtime)})
               : std::nullopt;
}

std::optional<Container> withName(std::string_view name, std::string_view runtime)
{
    return ContainerGroup::isName(name)
               ? std::optional(
                     Container{std::string(name), std::string(name), std::string(runtime)})
               : std::nullopt;
}

/// "lxc.payload.NAME" since LXC 4, "lxc.payload/NAME" and "lxc/NAME" before.
std::optional<Container> ofLxc(std::string_view name, std::string_view above)
{
    if (takePrefix(name, "lxc.payload.") || lastComponent(above) == "lxc.payload" ||
        above == "/lxc") {
        return withName(name, "lxc");
    }
    return std::nullopt;
}

/// "machine-NAME.scope" and "systemd-nspawn@NAME.service". libvirt registers what it runs in the
/// same way, as "qemu-1-NAME" and "lxc-1-NAME": those are none of systemd-nspawn's.
std::optional<Container> ofMachine(std::string_view name)
{
    const bool isScope = takeSuffix(name, ".scope") && takePrefix(name, "machine-");
    if (!isScope && !(takeSuffix(name, ".service") && takePrefix(name, "systemd-nspawn@"))) {
        return std::nullopt;
    }
    const std::string machine = unescaped(name);
    const bool isForeign = machine.starts_with("qemu-") || machine.starts_with("lxc-");
    return isForeign ? std::nullopt : withName(machine, "nspawn");
}

/// Who names a group by the identifier alone, by what the groups above it are called.
std::string_view runtimeOfBareIdentifier(std::string_view above)
{
    if (above.find("kubepods") != std::string_view::npos) {
        return "kubernetes";
    }
    const std::string_view name = lastComponent(above);
    if (name == "docker" || name == "libpod_parent") {
        return name == "docker" ? "docker" : "podman";
    }
    // The namespaces of containerd that nerdctl(1) uses without being asked for another.
    return name == "default" || name == "nerdctl" ? "containerd" : "";
}

std::optional<Container> ofComponent(std::string_view name, std::string_view above)
{
    if (std::optional<Container> found = ofLxc(name, above)) {
        return found;
    }
    if (std::optional<Container> found = ofMachine(name)) {
        return found;
    }
    takeSuffix(name, ".scope");
    if (ContainerGroup::isIdentifier(name)) {
        return withIdentifier(name, runtimeOfBareIdentifier(above));
    }
    for (const Prefix &prefix : prefixes) {
        // With a slice, "SLICE:cri-containerd:ID", where the driver is not the one that is set.
        const std::size_t at = name.rfind(prefix.text);
        const bool begins = at == 0 || (at != std::string_view::npos && name[at - 1] == ':');
        if (begins) {
            return withIdentifier(name.substr(at + prefix.text.size()), prefix.runtime);
        }
    }
    return std::nullopt;
}

} // namespace

bool ContainerGroup::isIdentifier(std::string_view text)
{
    constexpr std::size_t size = 64;
    return text.size() == size && std::all_of(text.begin(), text.end(), isHexDigit);
}

bool ContainerGroup::isName(std::string_view text)
{
    // Docker, Podman and machined allow no more than these; 255 is the longest name of a file.
    constexpr std::size_t longest = 255;
    return !text.empty() && text.size() <= longest && text.front() != '-' && text.front() != '.' &&
           std::all_of(text.begin(), text.end(), isNameCharacter);
}

std::optional<Container> ContainerGroup::ofPath(std::string_view path)
{
    while (path.size() > 1) {
        const std::string_view above = parent(path);
        if (std::optional<Container> found = ofComponent(lastComponent(path), above)) {
            found->isOfUser = above.find("/user@") != std::string_view::npos;
            return found;
        }
        path = above;
    }
    return std::nullopt;
}

std::optional<Container> ContainerGroup::find(std::string_view text)
{
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        const std::size_t path = line.find(":/");
        if (path == std::string_view::npos) {
            continue;
        }
        if (std::optional<Container> found = ofPath(line.substr(path + 1))) {
            return found;
        }
    }
    return std::nullopt;
}

} // namespace Tarnwick

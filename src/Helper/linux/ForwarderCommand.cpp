// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ForwarderCommand.h"

#include "Helper/linux/ContainerGroup.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>

namespace Tarnwick {

namespace {

using Program = ForwarderCommand::Program;
using Arguments = std::span<const std::string>;

constexpr std::array<std::string_view, 7> placesOfDockerProxy{
    "/usr/bin/docker-proxy",
    "/usr/sbin/docker-proxy",
    "/usr/local/bin/docker-proxy",
    "/usr/libexec/docker/docker-proxy",
    "/usr/lib/docker/docker-proxy",
    "/usr/libexec/docker-proxy",
    "/snap/docker/current/bin/docker-proxy"};
constexpr std::array<std::string_view, 3> placesOfRootlessPort{
    "/usr/lib/podman/rootlessport", "/usr/libexec/podman/rootlessport",
    "/usr/local/libexec/podman/rootlessport"};
constexpr std::array<std::string_view, 2> placesOfRootlessKit{"/usr/bin/rootlesskit",
                                                              "/usr/local/bin/rootlesskit"};
constexpr std::array<std::string_view, 2> placesOfSlirp4netns{"/usr/bin/slirp4netns",
                                                              "/usr/local/bin/slirp4netns"};
constexpr std::array<std::string_view, 6> placesOfPasta{
    "/usr/bin/passt",       "/usr/bin/passt.avx2",       "/usr/bin/pasta",
    "/usr/local/bin/passt", "/usr/local/bin/passt.avx2", "/usr/local/bin/pasta"};
constexpr std::array<std::string_view, 5> placesOfConmon{
    "/usr/bin/conmon", "/usr/libexec/podman/conmon", "/usr/lib/podman/conmon",
    "/usr/local/bin/conmon", "/usr/local/libexec/podman/conmon"};

struct Name
{
    std::string_view file;
    Program program;
};

constexpr std::array<Name, 9> names{{
    {"docker-proxy", Program::DockerProxy},
    {"rootlessport", Program::RootlessPort},
    {"rootlesskit", Program::RootlessKit},
    {"slirp4netns", Program::Slirp4netns},
    {"passt", Program::Pasta},
    {"passt.avx2", Program::Pasta},
    {"pasta", Program::Pasta},
    {"pasta.avx2", Program::Pasta},
    {"conmon", Program::Conmon},
}};

template<class Number>
std::optional<Number> toNumber(std::string_view text)
{
    Number number{};
    const char *const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, number);
    return parsed.ec == std::errc{} && parsed.ptr == end && number > 0 ? std::optional(number)
                                                                       : std::nullopt;
}

/// The value of the option called @p name, without its dashes: "-name VALUE", "-name=VALUE", and
/// both with two dashes. Empty where it is not given.
std::string_view option(Arguments arguments, std::string_view name)
{
    for (std::size_t at = 1; at < arguments.size(); ++at) {
        std::string_view text = arguments[at];
        if (!text.starts_with('-')) {
            continue;
        }
        text.remove_prefix(text.starts_with("--") ? 2 : 1);
        if (!text.starts_with(name)) {
            continue;
        }
        text.remove_prefix(name.size());
        if (text.empty()) {
            return at + 1 < arguments.size() ? std::string_view(arguments[at + 1])
                                             : std::string_view();
        }
        if (text.front() == '=') {
            return text.substr(1);
        }
    }
    return {};
}

/// docker-proxy -proto tcp -host-ip 0.0.0.0 -host-port 8080 -container-ip 172.17.0.2
/// -container-port 80 [-use-listen-fd]
bool readDockerProxy(Arguments arguments, std::uint16_t port, ForwarderCommand &command)
{
    const std::optional<std::uint16_t> host =
        toNumber<std::uint16_t>(option(arguments, "host-port"));
    const std::optional<std::uint16_t> container =
        toNumber<std::uint16_t>(option(arguments, "container-port"));
    const std::string_view protocol = option(arguments, "proto");
    command.address = option(arguments, "container-ip");
    command.port = container.value_or(0);
    return container && !command.address.empty() && (protocol.empty() || protocol == "tcp") &&
           (port == 0 || host == port);
}

/// The arguments that are no options, of programs that take them behind their options. @p letters
/// are the short options that take a value, @p words the long ones.
Arguments operands(Arguments arguments, std::string_view letters,
                   std::span<const std::string_view> words)
{
    for (std::size_t at = 1; at < arguments.size(); ++at) {
        const std::string_view argument = arguments[at];
        if (!argument.starts_with('-') || argument == "--") {
            return arguments.subspan(argument == "--" ? at + 1 : at);
        }
        const bool isLetter =
            argument.size() == 2 && letters.find(argument[1]) != std::string_view::npos;
        const bool isName =
            argument.starts_with("--") &&
            std::find(words.begin(), words.end(), argument.substr(2)) != words.end();
        at += isLetter || isName ? 1 : 0;
    }
    return {};
}

/// Names the namespace by the path that a user or Podman gives for it: "/proc/PID/ns/net" is that
/// of a process, anything else a file that it is mounted at.
void readNamespace(std::string_view path, ForwarderCommand &command)
{
    constexpr std::string_view prefix = "/proc/";
    constexpr std::string_view suffix = "/ns/net";
    if (path.starts_with(prefix) && path.ends_with(suffix)) {
        path.remove_prefix(prefix.size());
        path.remove_suffix(suffix.size());
        command.target = toNumber<pid_t>(path).value_or(0);
    } else {
        command.namespaceFile = path;
    }
}

/// slirp4netns [OPTION]... PID|PATH [TAPNAME]. Podman gives the path, and calls the socket over
/// which ports are forwarded by the container: "--api-socket /run/libpod/ID.net".
void readSlirp4netns(Arguments arguments, ForwarderCommand &command)
{
    constexpr std::array<std::string_view, 12> withValue{
        "exit-fd",        "ready-fd",   "mtu",         "api-socket",
        "cidr",           "netns-type", "userns-path", "outbound-addr",
        "outbound-addr6", "macaddress", "target-type", "interface"};
    const Arguments rest = operands(arguments, "erma", withValue);
    const std::string_view target = rest.empty() ? std::string_view() : rest.front();
    if (option(arguments, "netns-type") == "path" || target.starts_with('/')) {
        readNamespace(target, command);
    } else {
        command.target = toNumber<pid_t>(target).value_or(0);
    }
    std::string_view socket = option(arguments, "api-socket");
    socket = socket.substr(socket.rfind('/') + 1);
    constexpr std::string_view suffix = ".net";
    if (socket.ends_with(suffix)) {
        socket.remove_suffix(suffix.size());
        command.containerId = ContainerGroup::isIdentifier(socket) ? socket : std::string_view();
    }
}

struct PortRange
{
    unsigned first = 0;
    unsigned last = 0;
};

std::optional<PortRange> toRange(std::string_view text)
{
    const std::size_t dash = text.find('-');
    const std::optional<std::uint16_t> first = toNumber<std::uint16_t>(text.substr(0, dash));
    const std::optional<std::uint16_t> last =
        dash == std::string_view::npos ? first : toNumber<std::uint16_t>(text.substr(dash + 1));
    return first && last && *first <= *last ? std::optional(PortRange{*first, *last})
                                            : std::nullopt;
}

/// Where pasta's -t leads @p port: [ADDRESS[%INTERFACE]/]PORT[-PORT][:PORT[-PORT]], several with
/// commas between them. 0 where it says nothing of that port.
std::uint16_t targetOfPasta(std::string_view mapping, std::uint16_t port)
{
    mapping = mapping.substr(mapping.rfind('/') + 1);
    while (!mapping.empty()) {
        const std::string_view part = mapping.substr(0, mapping.find(','));
        mapping.remove_prefix(std::min(mapping.size(), part.size() + 1));
        const std::size_t colon = part.find(':');
        const std::optional<PortRange> from = toRange(part.substr(0, colon));
        if (!from || port < from->first || port > from->last) {
            continue;
        }
        const std::optional<PortRange> to =
            colon == std::string_view::npos ? from : toRange(part.substr(colon + 1));
        if (to && to->last - to->first == from->last - from->first) {
            return static_cast<std::uint16_t>(to->first + (port - from->first));
        }
    }
    return 0;
}

/// pasta [OPTION]... [COMMAND [ARG]...], pasta [OPTION]... PID, pasta [OPTION]... --netns
/// [PATH|NAME]. Podman writes: pasta --config-net -t 8080-8080:80-80 --dns-forward ... -u none -T
/// none -U none --no-map-gw --quiet --netns PATH.
void readPasta(Arguments arguments, std::uint16_t port, ForwarderCommand &command)
{
    const std::string file(option(arguments, "netns"));
    readNamespace(file.empty() || file.front() == '/' ? file : "/run/netns/" + file, command);
    for (std::size_t at = 1; at < arguments.size() && port != 0 && command.port == 0; ++at) {
        const std::string &argument = arguments[at];
        if ((argument == "-t" || argument == "--tcp-ports") && at + 1 < arguments.size()) {
            command.port = targetOfPasta(arguments[at + 1], port);
        } else if (argument.starts_with("--tcp-ports=")) {
            command.port = targetOfPasta(std::string_view(argument).substr(12), port);
        }
    }
    // A single operand may be a process; several are a command.
    constexpr std::array<std::string_view, 27> withValue{
        "runas",       "log-file",    "log-size",     "ns-ifname",    "fd",       "pcap",
        "pid",         "mtu",         "address",      "netmask",      "mac-addr", "gateway",
        "interface",   "outbound",    "outbound-if4", "outbound-if6", "dns",      "search",
        "dns-forward", "tcp-ports",   "udp-ports",    "tcp-ns",       "udp-ns",   "userns",
        "netns",       "ns-mac-addr", "dns-host"};
    const Arguments rest = operands(arguments, "lIFpPmanMgioDStuTU", withValue);
    if (file.empty() && rest.size() == 1) {
        command.target = toNumber<pid_t>(rest.front()).value_or(0);
    }
}

/// conmon --api-version 1 -c ID -u ID -r /usr/bin/crun -b ... -n NAME ...
bool readConmon(Arguments arguments, ForwarderCommand &command)
{
    const std::string_view id = option(arguments, "c");
    const std::string_view name = option(arguments, "n");
    command.containerId = ContainerGroup::isIdentifier(id) ? id : std::string_view();
    command.containerName = ContainerGroup::isName(name) ? name : std::string_view();
    return !command.containerId.empty();
}

} // namespace

std::optional<Program> ForwarderCommand::programAt(std::string_view path)
{
    const std::string_view file = path.substr(path.rfind('/') + 1);
    const auto found = std::find_if(names.begin(), names.end(),
                                    [file](const Name &name) { return name.file == file; });
    return found == names.end() ? std::nullopt : std::optional(found->program);
}

std::span<const std::string_view> ForwarderCommand::places(Program program)
{
    switch (program) {
    case Program::DockerProxy:
        return placesOfDockerProxy;
    case Program::RootlessPort:
        return placesOfRootlessPort;
    case Program::RootlessKit:
        return placesOfRootlessKit;
    case Program::Slirp4netns:
        return placesOfSlirp4netns;
    case Program::Pasta:
        return placesOfPasta;
    case Program::Conmon:
        return placesOfConmon;
    }
    return {};
}

std::optional<ForwarderCommand>
ForwarderCommand::parse(Program program, std::span<const std::string> arguments, std::uint16_t port)
{
    ForwarderCommand command;
    command.program = program;
    bool isComplete = true;
    switch (program) {
    case Program::DockerProxy:
        isComplete = readDockerProxy(arguments, port, command);
        break;
    case Program::Slirp4netns:
        readSlirp4netns(arguments, command);
        break;
    case Program::Pasta:
        readPasta(arguments, port, command);
        break;
    case Program::Conmon:
        isComplete = readConmon(arguments, command);
        break;
    case Program::RootlessPort: // reads what it forwards from its standard input
    case Program::RootlessKit:  // is sent it over a socket
        break;
    }
    return isComplete ? std::optional(std::move(command)) : std::nullopt;
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Console.h"
#include "CommandLine/ListenerSource.h"
#include "CommandLine/PortProbe.h"
#include "CommandLine/ProcessEnder.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <arpa/inet.h>

namespace Tarnwick {

/// Keeps what is written, or fails.
class WrittenText : public TextOutput
{
public:
    [[nodiscard]] std::error_code write(std::string_view text) override
    {
        if (!error) {
            written += text;
        }
        return error;
    }

    [[nodiscard]] TerminalShape terminal() const override { return shape; }

    std::string written;
    std::error_code error;
    TerminalShape shape;
};

/// Answers with prepared lines.
class PreparedAnswers : public LineInput
{
public:
    [[nodiscard]] bool isTerminal() const override { return isATerminal; }

    [[nodiscard]] std::error_code discardPending() override
    {
        typedBefore.clear();
        return discardError;
    }

    [[nodiscard]] std::optional<std::string> readLine() override
    {
        std::deque<std::string> &next = typedBefore.empty() ? lines : typedBefore;
        if (next.empty()) {
            return std::nullopt;
        }
        std::string line = std::move(next.front());
        next.pop_front();
        return line;
    }

    std::deque<std::string> typedBefore; ///< in front of the lines, until it is discarded
    std::deque<std::string> lines;
    std::error_code discardError;
    bool isATerminal = true;
};

/// Gives prepared listings one after the other, and the last one again and again.
class PreparedListings : public ListenerSource
{
public:
    [[nodiscard]] Listing list() override
    {
        ++asked;
        Listing next = listings.front();
        if (listings.size() > 1) {
            listings.pop_front();
        }
        m_sockets.clear();
        m_details.clear();
        if (const auto *records = std::get_if<std::vector<RawPortInfo>>(&next)) {
            std::transform(records->begin(), records->end(), std::back_inserter(m_sockets), socket);
            std::transform(records->begin(), records->end(), std::back_inserter(m_details), detail);
        }
        return next;
    }

    [[nodiscard]] std::vector<std::uint64_t> sockets() const override { return m_sockets; }
    [[nodiscard]] std::vector<ListenerDetails> details() const override { return m_details; }

    [[nodiscard]] std::vector<Ancestor> listedAncestors(std::int32_t pid) override
    {
        const auto known = ancestry.find(pid);
        return known != ancestry.end() ? known->second : std::vector<Ancestor>();
    }

    [[nodiscard]] std::optional<Project> project(std::int32_t /*pid*/,
                                                 const std::string &folder) override
    {
        const auto known = projects.find(folder);
        return known != projects.end() ? std::optional(known->second) : std::nullopt;
    }

    /// The identity of a record's socket: one for each process on each port.
    std::function<std::uint64_t(const RawPortInfo &)> socket = [](const RawPortInfo &record) {
        return static_cast<std::uint64_t>(record.port << 32 | record.pid);
    };
    /// The details of a record.
    std::function<ListenerDetails(const RawPortInfo &)> detail = [](const RawPortInfo &) {
        return ListenerDetails{};
    };
    std::deque<Listing> listings{std::vector<RawPortInfo>{}};
    std::map<std::int32_t, std::vector<Ancestor>> ancestry; ///< by process; none of the others
    std::map<std::string, Project> projects;                ///< by working directory
    int asked = 0;

private:
    std::vector<std::uint64_t> m_sockets;   ///< of the latest listing
    std::vector<ListenerDetails> m_details; ///< the same
};

/// Notes what it was told to end.
class NotedEnds : public ProcessEnder
{
public:
    [[nodiscard]] std::optional<ProcessIdentity> identity(std::int32_t pid) const override
    {
        return ProcessIdentity{.pid = pid, .startTicks = startTicks};
    }

    [[nodiscard]] KillAnswer end(const ProcessIdentity &process) override
    {
        ended.push_back(process.pid);
        startsOfEnded.push_back(process.startTicks);
        startTicks += 1;
        const auto result = results.find(process.pid);
        return result != results.end() ? result->second : KillAnswer(KillResultCode::Terminated);
    }

    [[nodiscard]] StartedEnd startEnd(const ProcessIdentity &process) override
    {
        return end(process);
    }

    [[nodiscard]] std::string protection(std::int32_t pid) const override
    {
        const auto known = protections.find(pid);
        return known != protections.end() ? known->second : std::string();
    }

    [[nodiscard]] std::optional<Forwarding> forwarding(std::int32_t pid) const override
    {
        const auto known = forwardings.find(pid);
        return known != forwardings.end() ? std::optional(known->second) : std::nullopt;
    }

    [[nodiscard]] std::optional<Supervisor> supervisor(std::int32_t pid) const override
    {
        const auto known = supervisors.find(pid);
        return known != supervisors.end() ? std::optional(known->second) : std::nullopt;
    }

    [[nodiscard]] std::optional<Supervisor>
    restarter(std::int32_t pid, std::span<const std::int32_t> former) const override
    {
        const auto known = restarters.find(pid);
        const bool isFormer =
            known != restarters.end() &&
            std::find(former.begin(), former.end(), known->second.pid) != former.end();
        return isFormer ? std::optional(known->second) : std::nullopt;
    }

    [[nodiscard]] std::vector<Ancestor> ancestors(std::int32_t pid) const override
    {
        const auto known = ancestry.find(pid);
        return known != ancestry.end() ? known->second : std::vector<Ancestor>();
    }

    /// When every process started; a moment later after each end, as if all were others then.
    std::uint64_t startTicks = 100;
    std::vector<std::int32_t> ended;
    std::vector<std::uint64_t> startsOfEnded;
    std::map<std::int32_t, KillAnswer> results; ///< `Terminated` for the others
    std::map<std::int32_t, std::string> protections;
    std::map<std::int32_t, Forwarding> forwardings;
    std::map<std::int32_t, Supervisor> supervisors;
    std::map<std::int32_t, Supervisor> restarters;          ///< by what they have started again
    std::map<std::int32_t, std::vector<Ancestor>> ancestry; ///< not known of the others
};

/// Ports with prepared sockets: the next ones with each question about a port, and the last ones
/// again and again.
class PreparedPorts : public PortProbe
{
public:
    using Sockets = std::vector<PortSocket>;

    [[nodiscard]] PortSockets::Result sockets(std::int64_t port,
                                              PortSockets::Which which) const override
    {
        ++asked;
        if (failure) {
            return *failure;
        }
        std::deque<Sockets> &known = states[port];
        Sockets next = known.empty() ? Sockets() : known.front();
        if (known.size() > 1) {
            known.pop_front();
        }
        if (which == PortSockets::Which::Listening) {
            std::erase_if(next, [](const PortSocket &socket) {
                return socket.state != PortSocket::State::Listening;
            });
        }
        return next;
    }

    [[nodiscard]] std::vector<std::int32_t> holders(std::uint32_t inode) const override
    {
        const auto known = processes.find(inode);
        return known != processes.end() ? known->second : std::vector<std::int32_t>();
    }

    [[nodiscard]] PortBinding::Outcome binding(std::int64_t /*port*/,
                                               std::span<const ListenAddress> /*addresses*/,
                                               PortBinding::ReuseAddress /*reuse*/) const override
    {
        const PortBinding::Outcome next = outcomes.front();
        if (outcomes.size() > 1) {
            outcomes.pop_front();
        }
        return next;
    }

    mutable std::map<std::int64_t, std::deque<Sockets>> states;   ///< by port
    std::map<std::uint32_t, std::vector<std::int32_t>> processes; ///< by inode
    mutable std::deque<PortBinding::Outcome> outcomes{PortBinding::Outcome::Possible};
    std::optional<ListingError> failure;
    mutable int asked = 0;
};

/// A socket that listens at 127.0.0.1.
inline PortSocket listeningSocket()
{
    return {.address = {.bytes = {127, 0, 0, 1}}, .inode = 77};
}

/// A console whose user is the test.
struct TestConsole
{
    WrittenText output;
    WrittenText errors;
    PreparedAnswers input;
    Console console{output, errors, input, Environment{.home = "/home/ada", .term = "xterm"},
                    [] { return Timestamp(std::chrono::hours(1000)); }};
};

/// A listener that opened a minute before the console's time.
inline RawPortInfo record(std::int64_t port, std::int64_t pid, std::string name,
                          std::string path = "/home/ada/.nvm/versions/node/v20/bin/node")
{
    return {.pid = pid,
            .port = port,
            .processName = std::move(name),
            .commandPath = std::move(path),
            .cwd = "/home/ada/shop",
            .arguments = {"node", "/home/ada/shop/server.js"},
            .originArguments = {},
            .processStartedAt = Timestamp(std::chrono::hours(1000) - std::chrono::minutes(1)),
            .memoryBytes = std::uint64_t{46} << 20U};
}

/// The details of a socket at @p address, of both families where that is "::".
inline ListenerDetails at(const char *address)
{
    ListenerDetails details;
    const bool isV6 = std::strchr(address, ':') != nullptr;
    details.address.family = isV6 ? ListenAddress::Family::IPv6 : ListenAddress::Family::IPv4;
    if (inet_pton(isV6 ? AF_INET6 : AF_INET, address, details.address.bytes.data()) != 1) {
        throw std::invalid_argument(address);
    }
    return details;
}

inline ListenerDetails onlyIPv6(ListenerDetails details)
{
    details.address.isV6Only = true;
    return details;
}

/// A listener of the system tier.
inline RawPortInfo systemRecord(std::int64_t port, std::int64_t pid, std::string name)
{
    return record(port, pid, std::move(name), "/usr/sbin/sshd");
}

} // namespace Tarnwick

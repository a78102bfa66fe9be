// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Shadowing.h"

#include "CommandLine/AddressText.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace Tarnwick {

namespace {

using Family = ListenAddress::Family;
using Socket = Shadowing::Socket;

/// How well a socket fits an address; the greatest gets the connections.
enum class Fit { None, BothFamilies, EveryAddress, ThisAddress };

ListenAddress loopback(Family family)
{
    ListenAddress address{.family = family};
    if (family == Family::IPv4) {
        address.bytes = {127, 0, 0, 1};
    } else {
        address.bytes.back() = 1;
    }
    return address;
}

bool isSameAddress(const ListenAddress &left, const ListenAddress &right)
{
    return left.family == right.family && left.bytes == right.bytes;
}

Fit fit(const Socket &socket, const ListenAddress &target)
{
    const ListenAddress address = socket.details->address.unmapped();
    if (isSameAddress(address, target)) {
        return Fit::ThisAddress;
    }
    if (!address.isAny()) {
        return Fit::None;
    }
    if (address.family == target.family) {
        return Fit::EveryAddress;
    }
    const bool takesIPv4 = address.family == Family::IPv6 && !address.isV6Only;
    return takesIPv4 ? Fit::BothFamilies : Fit::None;
}

/// Whether connections from this machine to one of its own addresses, which come in at "lo", reach
/// the socket.
bool isReachedLocally(const Socket &socket)
{
    return socket.details->interface.empty() || socket.details->interface == "lo";
}

/// Whether the two are parts of one server: one process, a service's processes of one program, or
/// forwarders to the same socket of a container.
bool isSameServer(const Socket &left, const Socket &right)
{
    if (left.record->pid != 0 && left.record->pid == right.record->pid) {
        return true;
    }
    const ListenerDetails &one = *left.details;
    const ListenerDetails &other = *right.details;
    if (one.forwarding && one.forwarding == other.forwarding) {
        return true;
    }
    return one.unit.ends_with(".service") && one.unit == other.unit &&
           one.isUserUnit == other.isUserUnit &&
           left.record->commandPath == right.record->commandPath;
}

/// The socket that gets the connections of this machine to @p target; null for none.
const Socket *receiver(std::span<const Socket> sockets, const ListenAddress &target)
{
    const Socket *best = nullptr;
    Fit bestFit = Fit::None;
    for (const Socket &socket : sockets) {
        const Fit found = isReachedLocally(socket) ? fit(socket, target) : Fit::None;
        if (found > bestFit) {
            best = &socket;
            bestFit = found;
        }
    }
    return best;
}

Shadow shadow(std::string target, const Socket &receiver)
{
    return {.target = std::move(target),
            .pid = receiver.record->pid,
            .processName = receiver.record->processName,
            .address = AddressText::of(*receiver.details)};
}

/// The addresses of other servers that @p socket, which is bound to every address, would get the
/// connections of, too.
void addSpecificAddresses(std::span<const Socket> sockets, const Socket &socket,
                          const Socket *answersLocalhost, std::vector<Shadow> &shadows)
{
    for (const Socket &other : sockets) {
        const ListenAddress address = other.details->address.unmapped();
        if (address.isAny() || &other == answersLocalhost || isSameServer(socket, other) ||
            other.details->interface != socket.details->interface ||
            fit(socket, address) == Fit::None) {
            continue;
        }
        Shadow found = shadow(address.text(), other);
        if (std::find(shadows.begin(), shadows.end(), found) == shadows.end()) {
            shadows.push_back(std::move(found));
        }
    }
}

bool areAtOneAddress(std::span<const Socket> sockets)
{
    return std::all_of(sockets.begin(), sockets.end(), [&sockets](const Socket &socket) {
        return socket.details->address == sockets.front().details->address;
    });
}

} // namespace

std::vector<std::vector<Shadow>> Shadowing::find(std::span<const Socket> sockets)
{
    std::vector<std::vector<Shadow>> found(sockets.size());
    if (areAtOneAddress(sockets)) {
        return found;
    }
    const std::array loopbacks{loopback(Family::IPv6), loopback(Family::IPv4)};
    const Socket *localhost = receiver(sockets, loopbacks.front());
    localhost = localhost != nullptr ? localhost : receiver(sockets, loopbacks.back());

    for (std::size_t index = 0; index < sockets.size(); ++index) {
        const Socket &socket = sockets[index];
        const bool isAtLocalhost =
            isReachedLocally(socket) && std::any_of(loopbacks.begin(), loopbacks.end(),
                                                    [&socket](const ListenAddress &address) {
                                                        return fit(socket, address) != Fit::None;
                                                    });
        const auto sharesAddress = [&] {
            return isSameAddress(socket.details->address.unmapped(),
                                 localhost->details->address.unmapped());
        };
        const bool isHidden = isAtLocalhost && localhost != nullptr && !sharesAddress() &&
                              !isSameServer(socket, *localhost);
        if (isHidden) {
            found[index].push_back(shadow("localhost", *localhost));
        }
        if (socket.details->address.isAny()) {
            addSpecificAddresses(sockets, socket, isHidden ? localhost : nullptr, found[index]);
        }
    }
    return found;
}

} // namespace Tarnwick

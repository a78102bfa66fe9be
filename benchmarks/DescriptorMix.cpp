// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "DescriptorMix.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <numeric>
#include <system_error>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

struct Share
{
    DescriptorKind kind;
    double weight;
};

/// How often each kind is drawn; a pair is drawn once and makes two descriptors.
constexpr std::array shares{
    Share{DescriptorKind::UnixSocket, 25}, Share{DescriptorKind::Pipe, 20},
    Share{DescriptorKind::Event, 20},      Share{DescriptorKind::File, 30},
    Share{DescriptorKind::Device, 5},
};

bool isPair(DescriptorKind kind)
{
    return kind == DescriptorKind::UnixSocket || kind == DescriptorKind::Pipe;
}

void require(bool done, const char *what)
{
    if (!done) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

} // namespace

std::vector<DescriptorKind> drawMix(std::size_t count, std::size_t listeners, std::size_t before,
                                    std::mt19937_64 &random)
{
    std::vector<std::size_t> all(std::min(count, listeners + std::min(count, before)));
    std::iota(all.begin(), all.end(), 0);
    std::vector<std::size_t> listening;
    std::sample(all.begin(), all.end(), std::back_inserter(listening), listeners, random);

    std::vector<double> weights;
    std::transform(shares.begin(), shares.end(), std::back_inserter(weights),
                   [](const Share &share) { return share.weight; });
    std::discrete_distribution<std::size_t> draw(weights.begin(), weights.end());

    std::vector<DescriptorKind> mix;
    mix.reserve(count);
    auto nextListener = listening.begin();
    while (mix.size() < count) {
        if (nextListener != listening.end() && *nextListener == mix.size()) {
            mix.push_back(DescriptorKind::Listener);
            ++nextListener;
            continue;
        }
        const std::size_t end = nextListener != listening.end() ? *nextListener : count;
        const DescriptorKind kind = shares[draw(random)].kind;
        if (!isPair(kind)) {
            mix.push_back(kind);
        } else if (mix.size() + 2 <= end) {
            mix.insert(mix.end(), 2, kind);
        } else {
            mix.push_back(DescriptorKind::Event);
        }
    }
    return mix;
}

std::vector<std::uint16_t> openMix(std::span<const DescriptorKind> mix)
{
    std::vector<std::uint16_t> ports;
    std::array<int, 2> pair = {};
    for (std::size_t at = 0; at < mix.size(); at += isPair(mix[at]) ? 2U : 1U) {
        switch (mix[at]) {
        case DescriptorKind::Listener:
            ports.push_back(openListener());
            break;
        case DescriptorKind::UnixSocket:
            require(::socketpair(AF_UNIX, SOCK_STREAM, 0, pair.data()) == 0, "a pair of sockets");
            break;
        case DescriptorKind::Pipe:
            require(::pipe(pair.data()) == 0, "a pipe");
            break;
        case DescriptorKind::Event:
            require(::eventfd(0, 0) >= 0, "an eventfd");
            break;
        case DescriptorKind::File:
            require(::open("/proc/self/exe", O_RDONLY) >= 0, "a file");
            break;
        case DescriptorKind::Device:
            require(::open("/dev/null", O_RDWR) >= 0, "/dev/null");
            break;
        }
    }
    return ports;
}

std::uint16_t openListener()
{
    constexpr int backlog = 16;
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    require(listener >= 0, "a TCP socket");
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    socklen_t size = sizeof(address);
    require(::bind(listener, generic, size) == 0,
            "a free port on 127.0.0.1 (/proc/sys/net/ipv4/ip_local_port_range)");
    require(::listen(listener, backlog) == 0, "listening");
    require(::getsockname(listener, generic, &size) == 0, "the port of a socket");
    return ntohs(address.sin_port);
}

} // namespace Tarnwick

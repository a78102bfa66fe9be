// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/TcpSocketCount.h"

#include "Helper/linux/ProcFs.h"

#include <algorithm>
#include <array>
#include <charconv>

#include <fcntl.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

std::optional<std::uint64_t> readCount(const FileDescriptor &file, std::string_view label)
{
    // The files have six lines of three numbers at most.
    std::array<char, 1024> text{};
    const ssize_t size = ::pread(file.get(), text.data(), text.size(), 0);
    return TcpSocketCount::parse(
        {text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))}, label);
}

} // namespace

TcpSocketCount::TcpSocketCount()
{
    // Of the thread: /proc/net is that of the process's first one.
    const FileDescriptor root = ProcFs::openRoot();
    m_ipv4 = FileDescriptor(::openat(root.get(), "thread-self/net/sockstat", O_RDONLY | O_CLOEXEC));
    m_ipv6 =
        FileDescriptor(::openat(root.get(), "thread-self/net/sockstat6", O_RDONLY | O_CLOEXEC));
}

std::optional<std::pair<std::uint64_t, std::uint64_t>> TcpSocketCount::read() const
{
    const std::optional<std::uint64_t> ipv4 = readCount(m_ipv4, "TCP: inuse ");
    if (!ipv4) {
        return std::nullopt;
    }
    return std::pair(*ipv4, m_ipv6 ? readCount(m_ipv6, "TCP6: inuse ").value_or(0) : 0);
}

std::optional<std::uint64_t> TcpSocketCount::parse(std::string_view text, std::string_view label)
{
    const std::size_t begin = text.find(label);
    if (begin == std::string_view::npos) {
        return std::nullopt;
    }
    text.remove_prefix(begin + label.size());
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} ? std::optional(number) : std::nullopt;
}

} // namespace Tarnwick

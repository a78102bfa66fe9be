// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/InventoryProcess.h"

#include "Helper/ListenerInventory.h"
#include "Shared/WriteAll.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <stdexcept>
#include <string>

#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

/// Answers each byte that comes with the size of a payload and the payload.
void serve(int channel)
{
    ListenerInventory inventory;
    char question = 0;
    while (::read(channel, &question, 1) == 1) {
        const Listing listing = inventory.list();
        const auto *records = std::get_if<std::vector<RawPortInfo>>(&listing);
        const std::string payload =
            RawPortInfo::encode(records != nullptr ? *records : std::vector<RawPortInfo>{});
        writeAll(channel, std::to_string(payload.size()) + '\n' + payload);
    }
}

std::string readAnswer(int channel)
{
    std::string size;
    char character = 0;
    while (::read(channel, &character, 1) == 1 && character != '\n') {
        size += character;
    }
    std::string payload(size.empty() ? 0 : std::stoul(size), '\0');
    for (std::size_t at = 0; at < payload.size();) {
        const ssize_t got = ::read(channel, payload.data() + at, payload.size() - at);
        if (got <= 0) {
            return {};
        }
        at += static_cast<std::size_t>(got);
    }
    return payload;
}

} // namespace

InventoryProcess::InventoryProcess(const std::function<bool()> &prepare)
{
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        throw std::runtime_error("no channel to be had");
    }
    m_channel = FileDescriptor(ends[0]);
    const FileDescriptor theirs(ends[1]);
    m_pid = ::fork();
    if (m_pid < 0) { // kill(2) takes -1 for every process
        throw std::runtime_error("no process to be had");
    }
    if (m_pid == 0) {
        m_channel.reset();
        if (prepare()) {
            serve(theirs.get());
        }
        ::_exit(0);
    }
}

InventoryProcess::~InventoryProcess()
{
    ::kill(m_pid, SIGKILL);
    ::waitpid(m_pid, nullptr, 0);
}

std::vector<RawPortInfo> InventoryProcess::list()
{
    ::send(m_channel.get(), "?", 1, MSG_NOSIGNAL);
    RawPortInfo::Decoded decoded = RawPortInfo::decode(readAnswer(m_channel.get()));
    auto *records = std::get_if<std::vector<RawPortInfo>>(&decoded);
    return records != nullptr ? std::move(*records) : std::vector<RawPortInfo>{};
}

bool InventoryProcess::answers()
{
    constexpr int patience = 5000;
    ::send(m_channel.get(), "?", 1, MSG_NOSIGNAL);
    pollfd waiting = {.fd = m_channel.get(), .events = POLLIN, .revents = 0};
    return ::poll(&waiting, 1, patience) > 0;
}

} // namespace Tarnwick

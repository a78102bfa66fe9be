// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/SignalPipe.h"

#include <array>
#include <atomic>
#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

/// The end that the handler writes to; a handler can be told nothing in another way.
std::atomic<int> handlersEnd{-1};
static_assert(std::atomic<int>::is_always_lock_free);

extern "C" void noteSignal(int number)
{
    const int errnoBefore = errno;
    const auto byte = static_cast<unsigned char>(number);
    // A pipe that is full holds enough signals to act on.
    static_cast<void>(write(handlersEnd.load(), &byte, 1));
    errno = errnoBefore;
}

} // namespace

std::unique_ptr<SignalPipe> SignalPipe::open(std::span<const int> signals)
{
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        return nullptr;
    }
    for (const int end : ends) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
        fcntl(end, F_SETFL, O_NONBLOCK);
    }
    return std::make_unique<SignalPipe>(FileDescriptor(ends[0]), FileDescriptor(ends[1]), signals);
}

SignalPipe::SignalPipe(FileDescriptor readEnd, FileDescriptor writeEnd,
                       std::span<const int> signals)
    : m_readEnd(std::move(readEnd))
    , m_writeEnd(std::move(writeEnd))
{
    handlersEnd = m_writeEnd.get();
    struct sigaction action
    {
    };
    action.sa_handler = noteSignal;
    sigemptyset(&action.sa_mask);
    for (const int number : signals) {
        struct sigaction before
        {
        };
        sigaction(number, nullptr, &before);
        if (before.sa_handler != SIG_IGN) {
            sigaction(number, &action, nullptr);
            m_before.emplace_back(number, before);
        }
    }
}

SignalPipe::~SignalPipe()
{
    for (const auto &[number, before] : m_before) {
        sigaction(number, &before, nullptr);
    }
    handlersEnd = -1;
}

std::optional<int> SignalPipe::take()
{
    unsigned char byte = 0;
    return read(m_readEnd.get(), &byte, 1) == 1 ? std::optional<int>(byte) : std::nullopt;
}

} // namespace Tarnwick

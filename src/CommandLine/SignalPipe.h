// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"

#include <csignal>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace Tarnwick {

/// Turns signals into something to poll for while it lives; afterwards they do again what they did
/// before. Those that the program was started to ignore, as nohup(1) and a shell's background do,
/// stay ignored. There may be one at a time in a program.
class SignalPipe
{
public:
    /// Null, with the reason in errno, when the system has no descriptors left.
    [[nodiscard]] static std::unique_ptr<SignalPipe> open(std::span<const int> signals);
    /// For open(): the ends of a pipe that is not inherited and never waits.
    SignalPipe(FileDescriptor readEnd, FileDescriptor writeEnd, std::span<const int> signals);
    ~SignalPipe();
    SignalPipe(const SignalPipe &) = delete;
    SignalPipe &operator=(const SignalPipe &) = delete;

    /// Readable when a signal has come.
    [[nodiscard]] int descriptor() const { return m_readEnd.get(); }

    /// The number of the signal that came first and has not been taken; nothing if there is none.
    [[nodiscard]] std::optional<int> take();

private:
    FileDescriptor m_readEnd;
    FileDescriptor m_writeEnd;
    std::vector<std::pair<int, struct sigaction>> m_before;
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/Support/ChildProcess.h"
#include "tests/Support/PrivateBus.h"
#include "tests/Support/TemporaryFolder.h"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// The real helper on a bus of the test's own; it ends with this object.
class HelperProcess
{
public:
    /// Started when the constructor returns, though perhaps not yet on the bus.
    explicit HelperProcess(const PrivateBus &bus, const std::vector<std::string> &arguments = {});

    /// The program that the build made.
    [[nodiscard]] static std::filesystem::path program();

    [[nodiscard]] pid_t pid() const { return m_process.pid(); }
    void signal(int number) const { m_process.signal(number); }
    [[nodiscard]] bool hasEnded() const { return m_process.hasEnded(); }
    /// See ChildProcess.
    [[nodiscard]] std::optional<int> awaitEnd(std::chrono::milliseconds patience)
    {
        return m_process.awaitEnd(patience);
    }

    /// What the helper has written so far.
    [[nodiscard]] std::string output() const;

    /// Resident memory now, and the most there ever was, in kB.
    [[nodiscard]] std::size_t residentMemory() const { return memory("VmRSS:"); }
    [[nodiscard]] std::size_t peakMemory() const { return memory("VmHWM:"); }
    /// The address space, in kB.
    [[nodiscard]] std::size_t virtualMemory() const { return memory("VmSize:"); }

private:
    [[nodiscard]] std::size_t memory(std::string_view which) const;

    TemporaryFolder m_folder;
    ChildProcess m_process;
};

} // namespace Tarnwick

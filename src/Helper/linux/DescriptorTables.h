// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// Threads of a process, each with descriptors of its own, in the order in which kcmp(2) puts their
/// tables: so a search among them takes few comparisons, however many they are. Belongs to one
/// thread.
class DescriptorTables
{
public:
    /// @p first is a thread whose table is known; 0 for none.
    explicit DescriptorTables(pid_t first)
        : m_first(first)
    {
    }

    /// Adds the table of @p thread. False when it is known already; that is taken for granted where
    /// the kernel does not compare, or the thread has ended.
    [[nodiscard]] bool add(pid_t thread);

    /// How many comparisons there were up to now.
    [[nodiscard]] std::uint64_t comparisons() const { return m_comparisons; }

private:
    enum class Order { Equal, Less, Greater };
    [[nodiscard]] Order compare(pid_t left, pid_t right);

    pid_t m_first;
    std::vector<pid_t> m_others;
    std::uint64_t m_comparisons = 0;
};

} // namespace Tarnwick

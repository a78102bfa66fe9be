// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <system_error>
#include <thread>
#include <vector>

namespace Tarnwick {

/// Whether a loop is worth threads, each of which costs some fifty microseconds to start and end.
enum class Parallel { No, WhereItHelps };

/// Calls @p body with each index below @p count, on this thread and, where that helps, on a few
/// more. Returns when all calls have. The indices are handed out one by one, so that one long piece
/// of work does not hold up the others' share. @p body must not throw.
template<class Body>
void parallelLoop(std::size_t count, Parallel parallel, const Body &body)
{
    // The work is system calls on one file system: past a few threads its locks are the limit.
    constexpr unsigned mostThreads = 4;

    std::atomic<std::size_t> next{0};
    const auto work = [&next, &body, count] {
        for (std::size_t index = next++; index < count; index = next++) {
            body(index);
        }
    };
    std::vector<std::thread> others;
    if (parallel == Parallel::WhereItHelps) {
        const unsigned threads = std::min(std::thread::hardware_concurrency(), mostThreads);
        try {
            for (unsigned thread = 1; thread < threads && thread < count; ++thread) {
                others.emplace_back(work);
            }
        } catch (const std::system_error &) {
            // No more threads for this user: those that there are do the work.
        }
    }
    work();
    for (std::thread &other : others) {
        other.join();
    }
}

} // namespace Tarnwick

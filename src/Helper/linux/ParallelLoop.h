// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace Tarnwick {

/// Whether a loop is worth threads, each of which costs some fifty microseconds to start and end.
enum class Parallel { No, WhereItHelps };

/// Calls @p body with each index below @p count, on this thread and, where that helps, on a few
/// more. Returns when all calls have. The indices are handed out one by one, so that one long piece
/// of work does not hold up the others' share. What @p body throws ends the loop and comes out of
/// it, once all threads have ended.
template<class Body>
void parallelLoop(std::size_t count, Parallel parallel, const Body &body)
{
    // The work is system calls on one file system: past a few threads its locks are the limit.
    constexpr unsigned mostThreads = 4;

    std::atomic<std::size_t> next{0};
    std::exception_ptr thrown;
    std::once_flag noted;
    const auto work = [&] {
        try {
            for (std::size_t index = next++; index < count; index = next++) {
                body(index);
            }
        } catch (...) {
            next = count;
            std::call_once(noted, [&thrown] { thrown = std::current_exception(); });
        }
    };
    std::vector<std::thread> others;
    if (parallel == Parallel::WhereItHelps) {
        const unsigned threads = std::min(std::thread::hardware_concurrency(), mostThreads);
        try {
            for (unsigned thread = 1; thread < threads && thread < count; ++thread) {
                others.emplace_back(work);
            }
        } catch (const std::exception &) {
            // No more threads for this user, or no memory: those that there are do the work.
        }
    }
    work();
    for (std::thread &other : others) {
        other.join();
    }
    if (thrown) {
        std::rethrow_exception(thrown);
    }
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/DescriptorTables.h"

#include "Helper/linux/SystemFailures.h"

#include <cerrno>
#include <cstddef>

#include <linux/kcmp.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Tarnwick {

bool DescriptorTables::add(pid_t thread)
{
    // Nearly all threads share the descriptors of the first.
    if (m_first != 0 && compare(thread, m_first) == Order::Equal) {
        return false;
    }
    std::size_t from = 0;
    std::size_t to = m_others.size();
    while (from < to) {
        const std::size_t middle = from + (to - from) / 2;
        const Order order = compare(thread, m_others[middle]);
        if (order == Order::Equal) {
            return false;
        }
        (order == Order::Less ? to : from) = order == Order::Less ? middle : middle + 1;
    }
    m_others.insert(m_others.begin() + static_cast<std::ptrdiff_t>(from), thread);
    return true;
}

DescriptorTables::Order DescriptorTables::compare(pid_t left, pid_t right)
{
    ++m_comparisons;
    const long order = ::syscall(SYS_kcmp, left, right, KCMP_FILES, 0, 0);
    SystemFailures::note("kcmp", order < 0 ? errno : 0);
    switch (order) {
    case 1:
        return Order::Less;
    case 2:
        return Order::Greater;
    default:
        return Order::Equal;
    }
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/FailingCalls.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

constexpr std::array<std::pair<long, const char *>, 26> usualCalls{{
    {SYS_openat, "openat"},
    {SYS_openat2, "openat2"},
    {SYS_read, "read"},
    {SYS_pread64, "pread64"},
    {SYS_readlinkat, "readlinkat"},
    {SYS_getdents64, "getdents64"},
    {SYS_lseek, "lseek"},
    {SYS_fstat, "fstat"},
    {SYS_newfstatat, "newfstatat"},
    {SYS_statx, "statx"},
    {SYS_fcntl, "fcntl"},
    {SYS_socket, "socket"},
    {SYS_connect, "connect"},
    {SYS_getsockopt, "getsockopt"},
    {SYS_sendto, "sendto"},
    {SYS_sendmsg, "sendmsg"},
    {SYS_recvfrom, "recvfrom"},
    {SYS_recvmsg, "recvmsg"},
    {SYS_kcmp, "kcmp"},
    {SYS_getpgid, "getpgid"},
    {SYS_prlimit64, "prlimit64"},
    {SYS_ppoll, "ppoll"},
    {SYS_pidfd_open, "pidfd_open"},
    {SYS_pidfd_send_signal, "pidfd_send_signal"},
    {SYS_clone, "clone"},
    {SYS_clone3, "clone3"},
}};

std::vector<long> usualNumbers()
{
    std::vector<long> numbers;
    for (const auto &[number, name] : usualCalls) {
        numbers.push_back(number);
    }
#ifdef SYS_poll
    numbers.push_back(SYS_poll);
#endif
    return numbers;
}

/// A descriptor on which the kernel reports the watched calls of this thread; -1 with errno.
int installFilter(std::span<const long> calls)
{
    std::vector<sock_filter> program{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const long call : calls) {
        program.push_back(
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call), 0, 1));
        program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF));
    }
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog filter = {.len = static_cast<unsigned short>(program.size()),
                               .filter = program.data()};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) {
        return -1;
    }
    return static_cast<int>(
        ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &filter));
}

} // namespace

FailingCalls::FailingCalls()
    : FailingCalls(usualNumbers())
{
}

/// Answers the kernel's notifications, in a thread of its own, until the process ends: nobody else
/// could let the calls through.
struct FailingCalls::Supervisor
{
    [[nodiscard]] static bool isOfThisProcess(std::uint32_t thread);
    [[nodiscard]] int answer(long number);
    void run();

    std::mutex mutex;
    std::optional<unsigned> skipped; ///< how many calls go through before the one that fails
    std::optional<long> each;
    int code = 0;
    std::optional<long> failed;
    std::atomic<int> listener{-1}; ///< -2 when there is none
};

FailingCalls::FailingCalls(std::span<const long> calls)
    : m_supervisor(std::make_shared<Supervisor>())
{
    // The supervisor exists before the filter, which is therefore not upon it.
    std::thread([supervisor = m_supervisor] { supervisor->run(); }).detach();
    const int listener = installFilter(calls);
    m_supervisor->listener = listener >= 0 ? listener : -2;
    m_supervisor->listener.notify_one();
    if (listener < 0) {
        throw std::runtime_error("no notifications of system calls to be had");
    }
}

FailingCalls::~FailingCalls()
{
    static_cast<void>(stop());
}

void FailingCalls::fail(unsigned skipped, int code)
{
    const std::lock_guard lock(m_supervisor->mutex);
    m_supervisor->skipped = skipped;
    m_supervisor->each.reset();
    m_supervisor->code = code;
    m_supervisor->failed.reset();
}

void FailingCalls::failEach(long number, int code)
{
    const std::lock_guard lock(m_supervisor->mutex);
    m_supervisor->skipped.reset();
    m_supervisor->each = number;
    m_supervisor->code = code;
    m_supervisor->failed.reset();
}

std::optional<long> FailingCalls::stop()
{
    const std::lock_guard lock(m_supervisor->mutex);
    m_supervisor->skipped.reset();
    m_supervisor->each.reset();
    return std::exchange(m_supervisor->failed, std::nullopt);
}

std::string FailingCalls::name(long number)
{
    const auto *const known =
        std::find_if(usualCalls.begin(), usualCalls.end(),
                     [number](const auto &call) { return call.first == number; });
    return known != usualCalls.end() ? known->second : std::to_string(number);
}

/// The children of the process inherit the filter. A server whose own call failed in place of one
/// of the process under test would end for a reason of its own.
bool FailingCalls::Supervisor::isOfThisProcess(std::uint32_t thread)
{
    return ::syscall(SYS_tgkill, ::getpid(), static_cast<pid_t>(thread), 0) == 0;
}

/// The errno to answer a call with; 0 lets it through.
int FailingCalls::Supervisor::answer(long number)
{
    const std::lock_guard lock(mutex);
    const bool isTheOne = skipped == 0U || each == number;
    if (skipped) {
        skipped = *skipped == 0 ? std::nullopt : std::optional(*skipped - 1);
    }
    if (!isTheOne) {
        return 0;
    }
    failed = number;
    return code;
}

void FailingCalls::Supervisor::run()
{
    listener.wait(-1);
    while (listener >= 0) {
        seccomp_notif call = {};
        if (::ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &call) != 0) {
            continue;
        }
        const int error = isOfThisProcess(call.pid) ? answer(call.data.nr) : 0;
        seccomp_notif_resp response = {};
        response.id = call.id;
        response.error = -error;
        response.flags = error == 0 ? SECCOMP_USER_NOTIF_FLAG_CONTINUE : 0;
        ::ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &response);
    }
}

} // namespace Tarnwick

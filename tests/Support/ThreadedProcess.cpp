// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/ThreadedProcess.h"

#include "Shared/FileDescriptor.h"

#include <array>
#include <chrono>
#include <csignal>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>

#include <fcntl.h>
#include <netinet/in.h>
#include <pthread.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

[[noreturn]] void sleepOn()
{
    for (;;) {
        ::pause();
    }
}

/// Opens a socket that listens, for as long as the process lives; returns its port.
int listenOnAnyPort()
{
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    ::listen(listener, 4);
    ::getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size);
    return ntohs(address.sin_port);
}

void *liveAlone(void *barrier)
{
    ::unshare(CLONE_FILES);
    ::pthread_barrier_wait(static_cast<pthread_barrier_t *>(barrier));
    sleepOn();
}

} // namespace

ThreadedProcess::ThreadedProcess(Kind kind, int threads)
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe to be had");
    }
    const FileDescriptor readEnd(ends[0]);
    FileDescriptor writeEnd(ends[1]);
    m_pid = ::fork();
    if (m_pid < 0) { // kill(2) takes -1 for every process
        throw std::runtime_error("no process to be had");
    }
    if (m_pid == 0) {
        live(kind, threads, writeEnd.get());
    }
    writeEnd.reset();
    if (::read(readEnd.get(), &m_setup, sizeof(m_setup)) != sizeof(m_setup)) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
        throw std::runtime_error("the process did not begin");
    }
}

ThreadedProcess::~ThreadedProcess()
{
    ::kill(m_pid, SIGKILL);
    ::waitpid(m_pid, nullptr, 0);
}

bool ThreadedProcess::awaitEndOfMainThread() const
{
    for (int attempt = 0; attempt < 5000; ++attempt) {
        std::ifstream file("/proc/" + std::to_string(m_pid) + "/stat");
        std::ostringstream text;
        text << file.rdbuf();
        if (text.str().find(") Z ") != std::string::npos) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

void ThreadedProcess::live(Kind kind, int threads, int channel)
{
    switch (kind) {
    case Kind::WithoutMainThread:
        liveWithoutMainThread(channel);
    case Kind::WithOwnDescriptors:
        liveWithOwnDescriptors(channel);
    case Kind::Crowded:
        liveCrowded(threads, channel);
    }
    ::_exit(1);
}

void ThreadedProcess::liveWithoutMainThread(int channel)
{
    std::thread(sleepOn).detach();
    report({.port = listenOnAnyPort(), .threads = 1}, channel);
    ::syscall(SYS_exit, 0);
    ::_exit(1);
}

void ThreadedProcess::liveWithOwnDescriptors(int channel)
{
    std::thread([channel] {
        ::unshare(CLONE_FILES);
        report({.port = listenOnAnyPort(), .threads = 1}, channel);
        sleepOn();
    }).detach();
    sleepOn();
}

void ThreadedProcess::liveCrowded(int threads, int channel)
{
    constexpr std::size_t smallStack = 64UL * 1024;
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setstacksize(&attributes, smallStack);
    pthread_barrier_t barrier;
    int made = 0;
    for (; made < threads; ++made) {
        pthread_t thread = 0;
        ::pthread_barrier_init(&barrier, nullptr, 2);
        if (::pthread_create(&thread, &attributes, &liveAlone, &barrier) != 0) {
            break;
        }
        ::pthread_barrier_wait(&barrier);
    }
    report({.port = 0, .threads = made}, channel);
    sleepOn();
}

void ThreadedProcess::report(const Setup &setup, int channel)
{
    static_cast<void>(::write(channel, &setup, sizeof(setup)));
}

} // namespace Tarnwick

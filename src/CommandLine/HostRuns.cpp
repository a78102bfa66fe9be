// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/HostRuns.h"

#include "CommandLine/Ssh.h"
#include "Shared/FileDescriptor.h"
#include "Shared/Subprocess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <list>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

using Result = HostRuns::Result;

/// What ssh exits with where it has failed itself (ssh(1)), and a shell where it found no program,
/// or none that it may run (POSIX, Exit Status for Commands).
constexpr int sshFailed = 255;
constexpr int programNotFound = 127;
constexpr int programNotExecutable = 126;

/// Which of two pipes.
enum class Stream { Output, Errors };

/// The run on one host while it goes on.
struct Run
{
    std::size_t host;
    Subprocess ssh;
    FileDescriptor errors;
    std::string line; ///< the beginning of one that is not whole yet

    [[nodiscard]] FileDescriptor &pipe(Stream stream)
    {
        return stream == Stream::Output ? ssh.output() : errors;
    }
    [[nodiscard]] bool isRead() { return !ssh.output() && !errors; }
};

void conclude(Result &result, const Subprocess::End &end)
{
    using How = Subprocess::End::How;
    if (end.how == How::Exited && end.status >= 0 && end.status <= static_cast<int>(lastOwnCode)) {
        result.code = static_cast<ExitCode>(end.status);
    } else if (end.how == How::Signalled) {
        result.failure = "ssh was ended by signal " + std::to_string(end.status);
    } else if (end.how == How::Unknown) {
        result.failure = std::string("waitpid: ") + std::strerror(end.status);
    } else if (end.status == sshFailed) {
        result.failure = "ssh has failed";
    } else if (end.status == programNotFound) {
        result.failure = "tarnwickctl is not in the PATH there";
    } else if (end.status == programNotExecutable) {
        result.failure = "tarnwickctl cannot be run there";
    } else {
        result.failure = "tarnwickctl ended with " + std::to_string(end.status) + " there";
    }
}

std::string startFailure(int code)
{
    return code == ENOENT ? "there is no ssh on this machine"
                          : std::string("cannot start ssh: ") + std::strerror(code);
}

/// Starts the run on a host; nothing, with the reason in @p result, where that fails.
std::optional<Run> start(std::size_t host, const std::vector<std::string> &command, Result &result)
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        result.failure = startFailure(errno);
        return std::nullopt;
    }
    FileDescriptor readEnd(ends[0]);
    const FileDescriptor writeEnd(ends[1]);
    std::optional<Subprocess> ssh = Subprocess::start(command, {.errors = writeEnd.get(),
                                                                .sharesStreams = false,
                                                                .endsWithStarter = true,
                                                                .environment = {}});
    if (!ssh) {
        result.failure = startFailure(errno);
        return std::nullopt;
    }
    ssh->input().reset();
    return Run{host, std::move(*ssh), std::move(readEnd), {}};
}

/// Passes the whole lines in Run::line on; false where no more are wanted.
bool passLines(Run &run, const HostRuns::TakeLine &takeLine)
{
    std::size_t begin = 0;
    for (std::size_t end = run.line.find('\n'); end != std::string::npos;
         end = run.line.find('\n', begin)) {
        if (!takeLine(run.host, std::string_view(run.line).substr(begin, end - begin))) {
            return false;
        }
        begin = end + 1;
    }
    run.line.erase(0, begin);
    return true;
}

/// The runs that go on at a time.
class Group
{
public:
    Group(const HostRuns::Limits &limits, const HostRuns::TakeLine &takeLine, int output,
          std::vector<Result> &results)
        : m_limits(limits)
        , m_takeLine(takeLine)
        , m_output(output)
        , m_results(results)
    {
    }

    [[nodiscard]] std::size_t size() const { return m_runs.size(); }
    void add(Run run) { m_runs.push_back(std::move(run)); }

    /// Waits for output or an end, and sees to both. False where no more lines are wanted, or
    /// nothing can be waited for.
    [[nodiscard]] bool proceed()
    {
        // Without events asked for, poll(2) still reports errors: that the reader has gone.
        std::vector<pollfd> waiting{{.fd = m_output, .events = 0, .revents = 0}};
        for (Run &run : m_runs) {
            for (const Stream stream : {Stream::Output, Stream::Errors}) {
                // poll(2) passes over what is negative.
                waiting.push_back({.fd = run.pipe(stream).get(), .events = POLLIN, .revents = 0});
            }
        }
        if (::poll(waiting.data(), waiting.size(), -1) < 0) {
            return errno == EINTR;
        }
        if (waiting.front().revents != 0) {
            return false;
        }
        auto polled = waiting.begin() + 1;
        for (Run &run : m_runs) {
            for (const Stream stream : {Stream::Output, Stream::Errors}) {
                if ((polled++)->revents != 0 && !read(run, stream)) {
                    return false;
                }
            }
        }
        finish();
        return true;
    }

private:
    [[nodiscard]] bool read(Run &run, Stream stream)
    {
        std::array<char, 64UL * 1024> buffer;
        const ssize_t got = ::read(run.pipe(stream).get(), buffer.data(), buffer.size());
        if (got < 0 && (errno == EINTR || errno == EAGAIN)) {
            return true;
        }
        if (got <= 0) {
            run.pipe(stream).reset();
            return true;
        }
        const std::string_view bytes(buffer.data(), static_cast<std::size_t>(got));
        Result &result = m_results[run.host];
        if (stream == Stream::Errors) {
            result.errors += bytes.substr(
                0, m_limits.maxErrors - std::min(m_limits.maxErrors, result.errors.size()));
            return true;
        }
        std::string &kept = m_takeLine ? run.line : result.output;
        if (bytes.size() > m_limits.maxOutput - std::min(m_limits.maxOutput, kept.size())) {
            result.failure =
                "more than " + std::to_string(m_limits.maxOutput) + " bytes came from there";
            return true;
        }
        kept += bytes;
        return !m_takeLine || passLines(run, m_takeLine);
    }

    /// Takes out the runs that have ended, or are to end. What is taken out is killed.
    void finish()
    {
        std::erase_if(m_runs, [this](Run &run) {
            Result &result = m_results[run.host];
            if (!result.failure.empty()) {
                result.output.clear();
                return true;
            }
            if (!run.isRead()) {
                return false;
            }
            if (m_takeLine && !run.line.empty()) {
                static_cast<void>(m_takeLine(run.host, run.line));
            }
            conclude(result, run.ssh.awaitEnd());
            return true;
        });
    }

    const HostRuns::Limits &m_limits;
    const HostRuns::TakeLine &m_takeLine;
    int m_output;
    std::vector<Result> &m_results; ///< of all hosts
    std::list<Run> m_runs;
};

} // namespace

HostRuns::HostRuns(std::vector<std::string> hosts, std::vector<std::string> arguments)
    : HostRuns(std::move(hosts), std::move(arguments), Limits())
{
}

HostRuns::HostRuns(std::vector<std::string> hosts, std::vector<std::string> arguments,
                   Limits limits)
    : m_hosts(std::move(hosts))
    , m_arguments(std::move(arguments))
    , m_limits(limits)
{
}

std::vector<Result> HostRuns::run(bool mayAsk, const TakeLine &takeLine, int output) const
{
    // Questions of several at a time would be read as those of one.
    const Ssh::Mode mode = mayAsk && m_hosts.size() == 1 ? Ssh::Mode::Asking : Ssh::Mode::Silent;
    std::vector<Result> results(m_hosts.size());
    Group group(m_limits, takeLine, output, results);
    std::size_t next = 0;
    while (next < m_hosts.size() || group.size() > 0) {
        while (next < m_hosts.size() && group.size() < m_limits.atOnce) {
            results[next].host = m_hosts[next];
            const auto command = Ssh::command(m_hosts[next], m_arguments, mode);
            if (std::optional<Run> run = start(next, command, results[next])) {
                group.add(std::move(*run));
            }
            ++next;
        }
        if (group.size() > 0 && !group.proceed()) {
            break;
        }
    }
    return results;
}

std::vector<Result> HostRuns::runOnTerminal() const
{
    std::vector<Result> results(m_hosts.size());
    for (std::size_t host = 0; host < m_hosts.size(); ++host) {
        Result &result = results[host];
        result.host = m_hosts[host];
        const auto command = Ssh::command(m_hosts[host], m_arguments, Ssh::Mode::Terminal);
        std::optional<Subprocess> ssh = Subprocess::start(
            command,
            {.errors = -1, .sharesStreams = true, .endsWithStarter = true, .environment = {}});
        if (ssh) {
            conclude(result, ssh->awaitEnd());
        } else {
            result.failure = startFailure(errno);
        }
    }
    return results;
}

} // namespace Tarnwick

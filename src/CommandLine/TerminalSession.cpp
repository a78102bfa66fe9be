// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/TerminalSession.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>

#include <poll.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

// Private modes of xterm (ctlseqs): 1049 the alternate screen, 25 the cursor, 7 wrapping lines.
constexpr std::string_view enterScreen = "\x1b[?1049h\x1b[?25l\x1b[?7l";
constexpr std::string_view leaveScreen = "\x1b[?7h\x1b[?25h\x1b[?1049l";

/// The bytes of one key come together, but for a slow line.
constexpr std::chrono::milliseconds keyTimeout(50);

constexpr std::array inPlaceSignals{SIGINT, SIGTERM, SIGHUP, SIGWINCH, SIGTSTP};
constexpr std::array linesSignals{SIGINT, SIGTERM, SIGHUP};

/// Rounded up, so that waiting never ends just before @p deadline.
int millisecondsUntil(std::chrono::steady_clock::time_point deadline)
{
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return static_cast<int>(
        std::clamp<std::int64_t>(left.count(), 0, std::numeric_limits<int>::max()));
}

} // namespace

std::unique_ptr<TerminalSession> TerminalSession::start(DescriptorOutput &output, int input,
                                                        Presentation presentation)
{
    const bool isInPlace = presentation == Presentation::InPlace;
    std::unique_ptr<SignalPipe> signals =
        isInPlace ? SignalPipe::open(inPlaceSignals) : SignalPipe::open(linesSignals);
    if (!signals) {
        return nullptr;
    }
    return std::make_unique<TerminalSession>(std::move(signals), output, input, presentation);
}

TerminalSession::TerminalSession(std::unique_ptr<SignalPipe> signals, DescriptorOutput &output,
                                 int input, Presentation presentation)
    : m_signals(std::move(signals))
    , m_output(output)
    , m_input(input)
    , m_presentation(presentation)
{
    enter();
    // What is compared with from now on.
    static_cast<void>(m_monitor.hasChanged());
}

TerminalSession::~TerminalSession()
{
    leave();
}

void TerminalSession::enter()
{
    if (m_presentation == Presentation::InPlace) {
        termios settings{};
        if (tcgetattr(m_input, &settings) == 0) {
            m_termiosBefore = settings;
        }
        m_restorer.emplace(TerminalRestorer::Terminal{.output = m_output.descriptor(),
                                                      .leave = leaveScreen,
                                                      .input = m_input,
                                                      .settings = m_termiosBefore});
        if (m_termiosBefore) {
            settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
            settings.c_cc[VMIN] = 1;
            settings.c_cc[VTIME] = 0;
            tcsetattr(m_input, TCSANOW, &settings);
        }
        static_cast<void>(m_output.write(enterScreen));
    }
    m_output.giveUpWhenReadable(m_signals->descriptor());
}

void TerminalSession::leave()
{
    m_output.giveUpWhenReadable(-1);
    if (m_presentation != Presentation::InPlace) {
        return;
    }
    static_cast<void>(m_output.write(leaveScreen));
    if (m_termiosBefore) {
        tcsetattr(m_input, TCSANOW, &*m_termiosBefore);
        m_termiosBefore.reset();
    }
    m_restorer.reset();
}

void TerminalSession::suspend()
{
    leave();
    // Stops the process here; it goes on when it is continued.
    static_cast<void>(raise(SIGSTOP));
    enter();
}

WatchEvent TerminalSession::await(Clock::time_point deadline, int descriptor)
{
    while (true) {
        // Without events asked for, the output still tells of errors: that its reader has gone.
        std::array<pollfd, 5> awaited{
            pollfd{.fd = m_signals->descriptor(), .events = POLLIN, .revents = 0},
            pollfd{.fd = m_output.descriptor(), .events = 0, .revents = 0},
            pollfd{.fd = m_termiosBefore ? m_input : -1, .events = POLLIN, .revents = 0},
            pollfd{.fd = m_monitor.descriptor(), .events = POLLIN, .revents = 0},
            pollfd{.fd = descriptor, .events = POLLIN, .revents = 0},
        };
        if (poll(awaited.data(), awaited.size(), millisecondsUntil(nextWake(deadline))) < 0) {
            continue;
        }
        if (const auto event = awaited[0].revents != 0 ? eventFromSignal() : std::nullopt) {
            return *event;
        }
        if (awaited[1].revents != 0) {
            return WatchEvent::OutputClosed;
        }
        if (const auto event = eventFromKeys(awaited[2].revents != 0)) {
            return *event;
        }
        const bool isCheckDue = awaited[3].revents != 0 || Clock::now() >= m_monitor.nextCheck();
        if (isCheckDue && m_monitor.hasChanged()) {
            return WatchEvent::Changed;
        }
        if (awaited[4].revents != 0 || Clock::now() >= deadline) {
            return WatchEvent::Deadline;
        }
    }
}

/// When await() has something to do although nothing has come.
TerminalSession::Clock::time_point TerminalSession::nextWake(Clock::time_point deadline)
{
    if (!m_nextKey) {
        m_nextKey = m_keys.next();
    }
    if (m_nextKey) {
        return Clock::now();
    }
    const Clock::time_point check = std::min(deadline, m_monitor.nextCheck());
    return m_keys.isIncomplete() ? std::min(check, m_keysDeadline) : check;
}

std::optional<WatchEvent> TerminalSession::eventFromSignal()
{
    const std::optional<int> number = m_signals->take();
    if (!number) {
        return std::nullopt;
    }
    if (*number == SIGTSTP) {
        suspend();
        return WatchEvent::Redraw;
    }
    return *number == SIGWINCH ? WatchEvent::Redraw : WatchEvent::Quit;
}

std::optional<WatchEvent> TerminalSession::eventFromKeys(bool isReadable)
{
    if (isReadable && !readKeys()) {
        return WatchEvent::Quit;
    }
    if (m_keys.isIncomplete() && Clock::now() >= m_keysDeadline) {
        m_keys.complete();
    }
    if (!m_nextKey) {
        m_nextKey = m_keys.next();
    }
    return m_nextKey ? std::optional(WatchEvent::KeyPressed) : std::nullopt;
}

/// False at the end of the input.
bool TerminalSession::readKeys()
{
    std::array<char, 256> bytes{};
    const ssize_t count = read(m_input, bytes.data(), bytes.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) {
        return true;
    }
    m_keys.add({bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))});
    m_keysDeadline = Clock::now() + keyTimeout;
    return count > 0;
}

Key TerminalSession::takeKey()
{
    return std::exchange(m_nextKey, std::nullopt).value_or(Key{});
}

void TerminalSession::discardKeys()
{
    m_keys.clear();
    m_nextKey.reset();
    if (m_termiosBefore) {
        tcflush(m_input, TCIFLUSH);
    }
}

} // namespace Tarnwick

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

WatchEvent TerminalSession::await(std::chrono::steady_clock::time_point deadline)
{
    // Without events asked for, the output still tells of errors: that its reader has gone.
    std::array<pollfd, 3> awaited{
        pollfd{.fd = m_signals->descriptor(), .events = POLLIN, .revents = 0},
        pollfd{.fd = m_output.descriptor(), .events = 0, .revents = 0},
        pollfd{.fd = m_termiosBefore ? m_input : -1, .events = POLLIN, .revents = 0},
    };
    while (true) {
        const int ready = poll(awaited.data(), awaited.size(), millisecondsUntil(deadline));
        if (ready == 0) {
            return WatchEvent::Tick;
        }
        if (ready < 0) {
            continue;
        }
        if (const auto event = awaited[0].revents != 0 ? eventFromSignal() : std::nullopt) {
            return *event;
        }
        if (awaited[1].revents != 0) {
            return WatchEvent::Unheard;
        }
        if (const auto event = awaited[2].revents != 0 ? eventFromKeys() : std::nullopt) {
            return *event;
        }
    }
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

std::optional<WatchEvent> TerminalSession::eventFromKeys()
{
    std::array<char, 64> keys{};
    const ssize_t count = read(m_input, keys.data(), keys.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) {
        return std::nullopt;
    }
    const std::string_view pressed(keys.data(),
                                   static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    const bool isOver = pressed.empty() || pressed.find('q') != std::string_view::npos;
    return isOver ? std::optional(WatchEvent::Quit) : std::nullopt;
}

} // namespace Tarnwick

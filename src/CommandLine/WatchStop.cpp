// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WatchStop.h"

#include "CommandLine/OwnerText.h"
#include "CommandLine/TerminalText.h"

#include <algorithm>
#include <cerrno>
#include <utility>
#include <variant>

namespace Tarnwick {

namespace {

constexpr std::string_view choice = " [y/N]";

} // namespace

void WatchStop::ask(const Listener &listener, std::span<const Listener> all)
{
    if (m_stage != Stage::Idle) {
        return;
    }
    m_owner = listener.entry;
    m_ports.clear();
    if (m_owner.pid == 0) {
        m_message = "The owner of port " + std::to_string(m_owner.port) +
                    " is unknown and cannot be stopped." + (m_isRoot ? "" : " Root may see it.");
        return;
    }
    for (const Listener &other : all) {
        if (other.entry.pid == m_owner.pid) {
            m_ports.push_back(other.entry.port);
        }
    }
    m_ports.erase(std::unique(m_ports.begin(), m_ports.end()), m_ports.end());
    m_identity = m_ender.identity(static_cast<std::int32_t>(m_owner.pid));
    m_question = "Stop " + OwnerText::process(m_owner) + " on " + OwnerText::ports(m_ports) + "?" +
                 std::string(choice);
    m_message.clear();
    m_stage = Stage::Asking;
}

void WatchStop::answer(const Key &key)
{
    const bool isYes = key.is('y') || key.is('Y');
    if (!isYes) {
        cancel("");
    } else if (m_stage == Stage::Asking && m_owner.tier == PortTier::System) {
        m_question = OwnerText::process(m_owner) + " belongs to the system. Stop it all the same?" +
                     std::string(choice);
        m_stage = Stage::AskingForSystem;
    } else {
        start();
    }
}

void WatchStop::cancel(std::string reason)
{
    m_stage = Stage::Idle;
    m_question.clear();
    m_message = std::move(reason);
}

void WatchStop::dismissMessage()
{
    if (m_stage != Stage::Waiting) {
        m_message.clear();
    }
}

int WatchStop::descriptor() const
{
    return m_pending ? m_pending->descriptor() : -1;
}

std::chrono::steady_clock::time_point WatchStop::deadline() const
{
    return m_pending ? m_pending->deadline() : std::chrono::steady_clock::time_point::max();
}

void WatchStop::advance()
{
    if (!m_pending) {
        return;
    }
    if (const std::optional<KillAnswer> answer = m_pending->advance()) {
        finish(*answer);
    }
}

void WatchStop::start()
{
    m_question.clear();
    if (!m_identity) {
        finish(KillResultCode::NotFound);
        return;
    }
    ProcessEnder::StartedEnd started = m_ender.startEnd(*m_identity);
    if (const auto *answer = std::get_if<KillAnswer>(&started)) {
        finish(*answer);
        return;
    }
    m_pending = std::get<std::unique_ptr<PendingEnd>>(std::move(started));
    m_message = "Stopping " + OwnerText::process(m_owner) + "…";
    m_stage = Stage::Waiting;
}

void WatchStop::finish(const KillAnswer &answer)
{
    m_message = outcome(answer);
    m_pending.reset();
    m_stage = Stage::Idle;
}

std::string WatchStop::outcome(const KillAnswer &answer) const
{
    const std::string process = OwnerText::process(m_owner);
    if (const auto *error = std::get_if<KillError>(&answer)) {
        return error->code == ETIMEDOUT
                   ? process + " was sent SIGKILL and has not ended."
                   : process + " was not stopped: " + TerminalText::printable(error->message) + ".";
    }
    switch (std::get<KillResultCode>(answer)) {
    case KillResultCode::Terminated:
        return process + " on " + OwnerText::ports(m_ports) + " has ended.";
    case KillResultCode::ForceKilled:
        return process + " on " + OwnerText::ports(m_ports) + " was force-killed.";
    case KillResultCode::NotFound:
        return process + " was already gone.";
    case KillResultCode::PermissionDenied:
        break;
    }
    const std::string reason = m_ender.protection(static_cast<std::int32_t>(m_owner.pid));
    if (!reason.empty()) {
        return "Not allowed to stop " + process + ": it is " + reason + ".";
    }
    return "Not allowed to stop " + process + "." + (m_isRoot ? "" : " Running as root may help.");
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WatchHistory.h"

#include "CommandLine/ListenerChanges.h"
#include "CommandLine/TerminalText.h"
#include "Shared/EntryText.h"

#include <algorithm>
#include <utility>

namespace Tarnwick {

void WatchHistory::note(std::span<const Listener> before, std::span<const Listener> now,
                        Timestamp time)
{
    for (const Listener *closed : listenersOnlyIn(before, now)) {
        add(*closed, false, time);
    }
    for (const Listener *opened : listenersOnlyIn(now, before)) {
        add(*opened, true, time);
    }
}

void WatchHistory::add(const Listener &listener, bool isOpened, Timestamp time)
{
    const PortEntry &entry = listener.entry;
    const std::string command = TerminalText::printable(EntryText::fullCommand(entry, {}));
    Change change{.isOpened = isOpened,
                  .time = time,
                  .port = entry.port,
                  .pid = entry.pid,
                  .process = TerminalText::printable(entry.process),
                  .command = TerminalText::cut(command, maxCommandSize / 4)};
    if (!isOpened) {
        change.openedAt = openingOf(entry);
    }
    if (m_changes.size() == maxChanges) {
        m_changes.pop_front();
    }
    m_changes.push_back(std::move(change));
}

std::optional<Timestamp> WatchHistory::openingOf(const PortEntry &entry) const
{
    const auto opening =
        std::find_if(m_changes.rbegin(), m_changes.rend(), [&entry](const Change &change) {
            return change.port == entry.port && change.pid == entry.pid;
        });
    const bool isKnown = opening != m_changes.rend() && opening->isOpened;
    return isKnown ? std::optional(opening->time) : std::nullopt;
}

} // namespace Tarnwick

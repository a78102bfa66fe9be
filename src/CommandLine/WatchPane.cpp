// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/WatchPane.h"

#include "CommandLine/AddressText.h"
#include "CommandLine/ClockText.h"
#include "CommandLine/OwnerText.h"
#include "CommandLine/TerminalText.h"
#include "Models/ByteCount.h"
#include "Models/Uptime.h"
#include "Shared/EntryText.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

namespace Tarnwick {

namespace {

/// Lines of labels and values, aligned; what has no value is left out.
class Labelled
{
public:
    void add(std::string_view label, std::string_view value)
    {
        if (!value.empty()) {
            std::string line(label);
            line.append(labelWidth - label.size(), ' ');
            m_lines.push_back(line.append(TerminalText::printable(value)));
        }
    }

    [[nodiscard]] std::vector<std::string> lines() && { return std::move(m_lines); }

private:
    static constexpr std::size_t labelWidth = 12;
    std::vector<std::string> m_lines;
};

std::string addressText(const Listener &listener)
{
    const std::vector<ListenerDetails> &others = listener.otherSockets;
    if (listener.socket == 0) {
        return {};
    }
    const bool isExposed =
        listener.details.isExposed() ||
        std::any_of(others.begin(), others.end(),
                    [](const ListenerDetails &socket) { return socket.isExposed(); });
    return AddressText::of(listener) +
           (isExposed ? ", exposed to the network" : ", this machine only");
}

std::string containerText(const ListenerDetails &details)
{
    if (!details.container) {
        return {};
    }
    const Container &container = *details.container;
    const std::string &name = container.name.empty() ? container.id : container.name;
    return container.runtime.empty() ? name : name + " (" + container.runtime + ")";
}

std::string forwardingText(const ListenerDetails &details)
{
    if (!details.forwarding) {
        return {};
    }
    const Forwarding &target = *details.forwarding;
    const Container &container = target.container;
    const std::string &name = container.name.empty() ? container.id : container.name;
    std::string text = target.processName.empty() ? "" : target.processName + " ";
    text += target.port == 0 ? "" : "on port " + std::to_string(target.port) + " ";
    return text + "in container " + name;
}

std::string startText(const PortEntry &entry, Timestamp now)
{
    if (entry.pid == 0) {
        return {};
    }
    return ClockText::dateAndTime(entry.openedAt) + ", up " + Uptime::format(entry.openedAt, now);
}

/// "14:03:59  opened  :3000  node (pid 4711)"; with how long it listened where that is known.
std::string changeText(const WatchHistory::Change &change)
{
    std::string text = ClockText::time(change.time);
    text += change.isOpened ? "  opened  :" : "  closed  :";
    text += std::to_string(change.port) + "  " + change.process;
    text += change.pid != 0 ? " (pid " + std::to_string(change.pid) + ")" : "";
    if (change.openedAt) {
        text += ", after " + Uptime::format(*change.openedAt, change.time);
    }
    return text;
}

} // namespace

std::vector<std::string> WatchPane::details(const Listener &listener, const WatchHistory &history,
                                            const Context &context)
{
    const PortEntry &entry = listener.entry;
    const ListenerDetails &details = listener.details;
    Labelled labelled;
    labelled.add("Port", std::to_string(entry.port));
    labelled.add("Process", OwnerText::process(entry));
    labelled.add("Service", entry.description == entry.process ? "" : entry.description);
    labelled.add("Tier", rawValue(entry.tier));
    labelled.add("Address", addressText(listener));
    labelled.add("User", details.user);
    labelled.add("Unit", details.unit);
    labelled.add("Socket unit", details.socketUnit);
    labelled.add("Container", containerText(details));
    labelled.add("Forwards to", forwardingText(details));
    labelled.add("Started", startText(entry, context.now));
    labelled.add("Memory", entry.memoryBytes > 0 ? ByteCount::format(entry.memoryBytes) : "");
    labelled.add("Command", EntryText::fullCommand(entry, context.home));
    labelled.add("Executable", EntryText::replacingHomePrefix(entry.command, context.home));
    labelled.add("Folder", EntryText::replacingHomePrefix(entry.cwd, context.home));
    std::vector<std::string> lines = std::move(labelled).lines();
    const std::size_t known = lines.size();
    for (const WatchHistory::Change &change : history.changes()) {
        if (change.port == entry.port) {
            lines.push_back(changeText(change));
        }
    }
    if (lines.size() > known) {
        lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(known), "");
    }
    return lines;
}

std::vector<std::string> WatchPane::history(const WatchHistory &history, const Context &context)
{
    std::vector<std::string> lines;
    lines.reserve(history.changes().size());
    std::for_each(history.changes().rbegin(), history.changes().rend(),
                  [&](const WatchHistory::Change &change) {
                      const std::string command =
                          EntryText::replacingHomePrefix(change.command, context.home);
                      lines.push_back(changeText(change) + (command.empty() ? "" : "  " + command));
                  });
    if (lines.empty()) {
        lines.emplace_back("Nothing has changed since this watch began.");
    }
    return lines;
}

std::vector<std::string> WatchPane::help()
{
    return {"Up Down k j      select a row",
            "PgUp PgDn Space  a page up or down",
            "Home End g G     the first or the last row",
            "/                filter while you type; Esc shows all again",
            "s S              sort by the next or the previous column",
            "r                reverse the order",
            "Enter            details of the row",
            "x Delete         stop the process, after a question",
            "h                history: what has opened and closed",
            "? F1             this help",
            "Esc              back",
            "q Ctrl+C         quit"};
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/Columns.h"

#include "CommandLine/AddressText.h"
#include "CommandLine/TerminalText.h"
#include "Models/ByteCount.h"
#include "Models/Uptime.h"
#include "Shared/EntryText.h"

#include <algorithm>
#include <array>
#include <compare>
#include <limits>
#include <tuple>
#include <utility>

namespace Tarnwick {

namespace {

constexpr std::size_t shortContainerId = 12; // as container tools write them

std::string address(const Listener &listener, const Columns::Context & /*context*/)
{
    return AddressText::of(listener);
}

bool isExposed(const Listener &listener)
{
    return listener.details.isExposed() ||
           std::any_of(listener.otherSockets.begin(), listener.otherSockets.end(),
                       [](const ListenerDetails &socket) { return socket.isExposed(); });
}

/// The name of the container in which the owner runs or to which it passes connections on; its
/// identifier, shortened, where it has no name.
std::string container(const Listener &listener)
{
    const std::optional<Forwarding> &forwarding = listener.details.forwarding;
    const std::optional<Container> &own = listener.details.container;
    if (!forwarding && !own) {
        return {};
    }
    const Container &container = forwarding ? forwarding->container : *own;
    return container.name.empty() ? container.id.substr(0, shortContainerId) : container.name;
}

std::string project(const Listener &listener)
{
    return listener.project ? listener.project->name() : std::string();
}

std::string branch(const Listener &listener)
{
    return listener.project ? listener.project->branch : std::string();
}

std::string parent(const Listener &listener)
{
    if (listener.ancestors.empty()) {
        return {};
    }
    const Ancestor &nearest = listener.ancestors.front();
    return nearest.name + " " + std::to_string(nearest.pid);
}

using Context = Columns::Context;
constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();

/// The properties of one column. Where several do not fit, that with the lowest rank above 0 is
/// left out first.
struct Properties
{
    Column column;
    std::string_view name;
    std::string_view title;
    Table::Alignment alignment;
    std::size_t maxWidth; ///< on a terminal
    unsigned rank;
    std::string (*text)(const Listener &, const Context &);
};

constexpr auto toTheLeft = Table::Alignment::Left;
constexpr auto toTheRight = Table::Alignment::Right;

// Longer process names and addresses than these leave the command too little of a terminal.
constexpr std::array<Properties, 20> properties{{
    {Column::Port, "port", "PORT", toTheRight, unlimited, 0,
     [](const Listener &row, const Context &) { return std::to_string(row.entry.port); }},
    {Column::Address, "address", "ADDRESS", toTheLeft, 24, 5, address},
    {Column::Exposed, "exposed", "EXPOSED", toTheLeft, unlimited, 0,
     [](const Listener &row, const Context &) {
         return std::string(isExposed(row) ? "yes" : "no");
     }},
    {Column::Tier, "tier", "TIER", toTheLeft, unlimited, 3,
     [](const Listener &row, const Context &) { return std::string(rawValue(row.entry.tier)); }},
    {Column::Pid, "pid", "PID", toTheRight, unlimited, 0,
     [](const Listener &row, const Context &) {
         return row.entry.pid != 0 ? std::to_string(row.entry.pid) : "-";
     }},
    {Column::User, "user", "USER", toTheLeft, 16, 4,
     [](const Listener &row, const Context &) { return row.details.user; }},
    {Column::Process, "process", "PROCESS", toTheLeft, 30, 0,
     [](const Listener &row, const Context &) { return row.entry.process; }},
    {Column::Description, "description", "DESCRIPTION", toTheLeft, 30, 0,
     [](const Listener &row, const Context &) { return row.entry.description; }},
    // Nobody knows when an unknown owner started.
    {Column::Uptime, "uptime", "UPTIME", toTheRight, unlimited, 2,
     [](const Listener &row, const Context &context) {
         return row.entry.pid != 0 ? Uptime::format(row.entry.openedAt, context.now) : "-";
     }},
    {Column::Memory, "memory", "MEMORY", toTheRight, unlimited, 1,
     [](const Listener &row, const Context &) {
         return row.entry.memoryBytes > 0 ? ByteCount::format(row.entry.memoryBytes) : "";
     }},
    {Column::Command, "command", "COMMAND", toTheLeft, unlimited, 0,
     [](const Listener &row, const Context &context) {
         return EntryText::fullCommand(row.entry, context.home);
     }},
    {Column::Path, "path", "PATH", toTheLeft, unlimited, 0,
     [](const Listener &row, const Context &context) {
         return EntryText::replacingHomePrefix(row.entry.command, context.home);
     }},
    {Column::Folder, "folder", "FOLDER", toTheLeft, unlimited, 0,
     [](const Listener &row, const Context &context) {
         return EntryText::replacingHomePrefix(row.entry.cwd, context.home);
     }},
    {Column::Unit, "unit", "UNIT", toTheLeft, 40, 0,
     [](const Listener &row, const Context &) { return row.details.unit; }},
    {Column::Socket, "socket", "SOCKET", toTheLeft, 40, 0,
     [](const Listener &row, const Context &) { return row.details.socketUnit; }},
    {Column::Container, "container", "CONTAINER", toTheLeft, 30, 0,
     [](const Listener &row, const Context &) { return container(row); }},
    {Column::Project, "project", "PROJECT", toTheLeft, 30, 0,
     [](const Listener &row, const Context &) { return project(row); }},
    {Column::Branch, "branch", "BRANCH", toTheLeft, 30, 0,
     [](const Listener &row, const Context &) { return branch(row); }},
    {Column::Parent, "parent", "PARENT", toTheLeft, 30, 0,
     [](const Listener &row, const Context &) { return parent(row); }},
    {Column::Host, "host", "HOST", toTheLeft, 30, 0,
     [](const Listener &row, const Context &) { return row.host; }},
}};

constexpr bool areInOrder()
{
    for (std::size_t index = 0; index < properties.size(); ++index) {
        if (properties[index].column != static_cast<Column>(index)) {
            return false;
        }
    }
    return true;
}
static_assert(areInOrder());

const Properties &of(Column column)
{
    return properties[static_cast<std::size_t>(column)];
}

std::strong_ordering compareAddresses(const Listener &left, const Listener &right)
{
    const auto key = [](const Listener &listener) {
        const ListenAddress address = listener.details.address.unmapped();
        return std::pair(address.family, address.bytes);
    };
    return key(left) <=> key(right);
}

/// Numbers as numbers and texts by their bytes; an empty text, and the number of what is unknown,
/// after all others.
std::strong_ordering compare(Column column, const Listener &left, const Listener &right)
{
    const auto by = [&left, &right](auto value) {
        const auto key = [&value](const Listener &listener) {
            const auto found = value(listener);
            return std::pair(found == decltype(found){}, found);
        };
        return key(left) <=> key(right);
    };
    switch (column) {
    case Column::Port:
        return left.entry.port <=> right.entry.port;
    case Column::Address:
        return compareAddresses(left, right);
    case Column::Tier:
        return left.entry.tier <=> right.entry.tier;
    case Column::Pid:
        return by([](const Listener &listener) { return listener.entry.pid; });
    case Column::Uptime:
        // The shortest first.
        return by([](const Listener &listener) {
            return listener.entry.pid == 0 ? 0
                                           : -listener.entry.openedAt.time_since_epoch().count();
        });
    case Column::Memory:
        return by([](const Listener &listener) { return listener.entry.memoryBytes; });
    default:
        return by([column](const Listener &listener) {
            return of(column).text(listener, {.now = {}, .home = {}});
        });
    }
}

/// Calls @p take with each part of @p list between commas, until it returns false; whether it never
/// did.
template<class Take>
bool forEachName(std::string_view list, Take take)
{
    while (true) {
        const std::size_t comma = list.find(',');
        if (!take(list.substr(0, comma))) {
            return false;
        }
        if (comma == std::string_view::npos) {
            return true;
        }
        list.remove_prefix(comma + 1);
    }
}

} // namespace

std::vector<Column> Columns::usual(bool hasHosts)
{
    std::vector<Column> columns{Column::Port,   Column::Address, Column::Tier,
                                Column::Pid,    Column::User,    Column::Process,
                                Column::Uptime, Column::Memory,  Column::Command};
    if (hasHosts) {
        columns.insert(columns.begin(), Column::Host);
    }
    return columns;
}

std::string Columns::names(std::size_t width)
{
    std::string text;
    std::size_t used = 0;
    for (const Properties &column : properties) {
        const std::string_view separator = text.empty() ? "" : ", ";
        if (used + separator.size() + column.name.size() + 1 > width) {
            text += ",\n";
            used = 0;
        } else {
            text += separator;
            used += separator.size();
        }
        text += column.name;
        used += column.name.size();
    }
    return text;
}

std::optional<Column> Columns::from(std::string_view name)
{
    const auto *const found =
        std::find_if(properties.begin(), properties.end(),
                     [name](const Properties &column) { return column.name == name; });
    return found == properties.end() ? std::nullopt : std::optional(found->column);
}

std::optional<std::vector<Column>> Columns::listFrom(std::string_view list)
{
    std::vector<Column> columns;
    const bool areNames = forEachName(list, [&columns](std::string_view name) {
        const std::optional<Column> column = from(name);
        const bool isNew =
            column && std::find(columns.begin(), columns.end(), *column) == columns.end();
        if (isNew) {
            columns.push_back(*column);
        }
        return isNew;
    });
    return areNames ? std::optional(std::move(columns)) : std::nullopt;
}

std::optional<std::vector<SortKey>> Columns::orderFrom(std::string_view list)
{
    std::vector<SortKey> order;
    const bool areNames = forEachName(list, [&order](std::string_view name) {
        const bool isDescending = name.starts_with('-');
        const std::optional<Column> column = from(name.substr(isDescending ? 1 : 0));
        if (column) {
            order.push_back({*column, isDescending});
        }
        return column.has_value();
    });
    return areNames ? std::optional(std::move(order)) : std::nullopt;
}

Table::Column Columns::shape(Column column, bool isNamed)
{
    const Properties &known = of(column);
    return {.title = known.title,
            .alignment = known.alignment,
            .most = known.maxWidth,
            .rank = isNamed ? 0 : known.rank};
}

std::string Columns::text(Column column, const Listener &listener, const Context &context)
{
    return TerminalText::printable(of(column).text(listener, context));
}

void Columns::sort(std::vector<Listener> &listeners, std::span<const SortKey> order)
{
    if (order.empty()) {
        return;
    }
    std::stable_sort(listeners.begin(), listeners.end(),
                     [order](const Listener &one, const Listener &other) {
                         for (const SortKey &key : order) {
                             const std::strong_ordering result = compare(key.column, one, other);
                             if (result != std::strong_ordering::equal) {
                                 return (result == std::strong_ordering::less) != key.isDescending;
                             }
                         }
                         return false;
                     });
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ListenerInventoryPrivate.h"

#include "Helper/RecordBounds.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace Tarnwick {

namespace {

/// The command of what is behind a forwarder, and where it runs; within the @p room of a record.
void describe(RawPortInfo &record, const Forwarding &forwarding, std::size_t room)
{
    std::string place = forwarding.place();
    if (forwarding.command.empty()) {
        record.originArguments = {std::move(place)};
    } else {
        record.originArguments = {forwarding.command, place};
        if (RecordBounds::cost(record) > room) {
            record.originArguments = {std::move(place)};
        }
    }
    if (RecordBounds::cost(record) > room) {
        record = RecordBounds::shortened(record, room);
    }
}

} // namespace

/// Gives the records of forwarders the command of what they forward to.
void ListenerInventory::Private::describeForwarded(std::vector<RawPortInfo> &records)
{
    forwardings.begin(std::exchange(processesChanged, false), Clock::now() + searchTime);
    const std::size_t room = RecordBounds::share(records.size());
    std::size_t counted = 0; // places whose records have been counted
    std::size_t record = 0;
    memory.forEachForwarded([&](std::size_t place, const ProcessInspector &owner) {
        for (; counted < place; ++counted) {
            record += memory.socket(counted).vanished ? 0U : 1U;
        }
        const ProcessDetails &details = owner.details();
        const Forwarding *const forwarding =
            forwardings.find({.socket = sockets[place].key(),
                              .pid = owner.identity().pid,
                              .startTicks = owner.identity().startTicks,
                              .program = *details.forwarder,
                              .arguments = details.arguments,
                              .port = sockets[place].port});
        if (forwarding != nullptr) {
            describe(records[record], *forwarding, room);
        }
    });
    forwardings.finish();
}

} // namespace Tarnwick

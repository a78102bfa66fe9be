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

/// Finds out what the forwarders among the owners forward to.
void ListenerInventory::Private::findForwarded()
{
    forwardings.begin(std::exchange(processesChanged, false), Clock::now() + searchTime);
    memory.forEachForwarded([this](std::size_t place, const ProcessInspector &owner) {
        const ProcessDetails &details = owner.details();
        static_cast<void>(forwardings.find({.socket = sockets[place].key(),
                                            .pid = owner.identity().pid,
                                            .startTicks = owner.identity().startTicks,
                                            .program = *details.forwarder,
                                            .arguments = details.arguments,
                                            .port = sockets[place].port}));
    });
    forwardings.finish();
}

/// Gives the record of a socket that is forwarded the command of what it is forwarded to. @p count
/// is how many records the listing has.
void ListenerInventory::Private::describeForwarded(RawPortInfo &record,
                                                   const ListeningSocket &socket,
                                                   std::size_t count) const
{
    if (const Forwarding *const forwarding = forwardings.found(socket.key())) {
        describe(record, *forwarding, RecordBounds::share(count));
    }
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ListenerInventoryPrivate.h"

#include "Helper/linux/DetailsReader.h"

#include <algorithm>
#include <cstddef>
#include <deque>
#include <memory>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Tarnwick {

namespace {

/// The listeners of one port, with what they refer to.
struct PortListeners
{
    std::vector<VisitedListener> listeners{};
    std::deque<RawPortInfo> ownRecords{}; ///< of sockets without an owner, or forwarded ones
    std::deque<ListenerDetails> details{};

    void clear()
    {
        listeners.clear();
        ownRecords.clear();
        details.clear();
    }

    void passTo(const PortVisitor &visitor)
    {
        std::stable_sort(listeners.begin(), listeners.end(),
                         [](const VisitedListener &left, const VisitedListener &right) {
                             const auto key = [](const RawPortInfo &record) {
                                 return std::tie(record.pid, record.processName);
                             };
                             return key(*left.record) < key(*right.record);
                         });
        visitor(listeners);
    }
};

/// The one record of a process, whose port is that of the socket at hand.
struct OwnerRecord
{
    RawPortInfo record;
    std::size_t number = 0; ///< VisitedListener::owner
};

} // namespace

std::optional<ListingError> ListenerInventory::Private::visit(const PortVisitor &visitor)
{
    if (std::optional<ListingError> error = update({.records = true, .owners = {}})) {
        return error;
    }
    findForwarded();
    const std::size_t share = memory.recordShare();
    DetailsReader reader(root.get(), groups);
    std::unordered_map<const ProcessInspector *, OwnerRecord> owners;
    PortListeners found;
    for (std::size_t place = 0; place < sockets.size(); ++place) {
        const ListeningSocket &socket = sockets[place];
        const KnownSocket &known = memory.socket(place);
        if (!known.vanished) {
            VisitedListener &listener = found.listeners.emplace_back();
            const ProcessInspector *const owner = memory.ownerAt(place);
            const Forwarding *const forwarding = forwardings.found(socket.key());
            // Where the socket is forwarded to is a matter of the port.
            if (owner != nullptr && forwarding == nullptr) {
                const auto [record, isNew] = owners.try_emplace(owner);
                if (isNew) {
                    record->second = {memory.record(socket, place, share), owners.size()};
                }
                record->second.record.port = socket.port;
                listener.record = &record->second.record;
                listener.owner = record->second.number;
            } else {
                listener.record =
                    &found.ownRecords.emplace_back(memory.record(socket, place, share));
                describeForwarded(found.ownRecords.back(), socket, sockets.size());
            }
            ListenerDetails &details =
                found.details.emplace_back(reader.read(socket, known.verified ? known.owner : 0));
            if (forwarding != nullptr) {
                details.forwarding = *forwarding;
            }
            listener.details = &details;
        }
        const bool isLastOfPort =
            place + 1 == sockets.size() || sockets[place + 1].port != socket.port;
        if (isLastOfPort && !found.listeners.empty()) {
            found.passTo(visitor);
            found.clear();
        }
    }
    memory.finish();
    report = std::make_shared<const ProcessReport>(memory.reported());
    return std::nullopt;
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/ListenerSource.h"

#include "CommandLine/Listener.h"

#include <cstddef>
#include <utility>
#include <variant>

namespace Tarnwick {

std::optional<ListingError> ListenerSource::visit(const PortVisitor &visitor)
{
    Listing listing = list();
    if (auto *const error = std::get_if<ListingError>(&listing)) {
        return std::move(*error);
    }
    const std::vector<Listener> listeners =
        listenersFrom(std::move(std::get<std::vector<RawPortInfo>>(listing)), sockets(), details());
    std::vector<VisitedListener> visited;
    for (std::size_t index = 0; index < listeners.size(); ++index) {
        visited.push_back({&listeners[index].record, &listeners[index].details});
        const bool isLastOfPort = index + 1 == listeners.size() ||
                                  listeners[index + 1].record.port != listeners[index].record.port;
        if (isLastOfPort) {
            visitor(visited);
            visited.clear();
        }
    }
    return std::nullopt;
}

std::vector<Ancestor> ListenerSource::listedAncestors(std::int32_t /*pid*/)
{
    return {};
}

std::optional<Project> ListenerSource::project(std::int32_t /*pid*/, const std::string & /*folder*/)
{
    return std::nullopt;
}

} // namespace Tarnwick

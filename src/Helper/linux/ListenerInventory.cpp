// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ListenerInventory.h"

#include "Helper/linux/HeldSockets.h"
#include "Helper/linux/ListenerInventoryPrivate.h"

#include <cerrno>
#include <chrono>
#include <new>
#include <utility>

namespace Tarnwick {

ListenerInventory::ListenerInventory()
    : ListenerInventory(Options{})
{
}

ListenerInventory::ListenerInventory(const Options &options)
    : m_private(std::make_unique<Private>(options))
{
}

ListenerInventory::~ListenerInventory() = default;

Scan ListenerInventory::scan(const ScanRequest &request)
{
    Private &d = *m_private;
    try {
        if (d.isInterrupted) {
            d.census = ProcessCensus(d.root.get());
            d.groups = ControlGroups();
            d.isInterrupted = false;
        }
        return d.scan(request);
    } catch (const std::bad_alloc &) {
        // Half a scan is not to be built upon.
        d.memory.startOver();
        d.backoff = {};
        d.sockets = {};
        d.isInterrupted = true;
        return ListingError{ENOMEM, "no memory left"};
    }
}

Listing ListenerInventory::list()
{
    Scan found = scan({.records = true, .owners = {}});
    if (auto *error = std::get_if<ListingError>(&found)) {
        return std::move(*error);
    }
    return std::get<ScanResult>(std::move(found)).records;
}

std::variant<Ownership, ListingError> ListenerInventory::ownership(std::int32_t pid)
{
    Scan found = scan({.records = false, .owners = {pid}});
    if (auto *error = std::get_if<ListingError>(&found)) {
        return std::move(*error);
    }
    return std::get<ScanResult>(std::move(found)).ownerships.front();
}

SharedProcessReport ListenerInventory::report() const
{
    return m_private->report;
}

std::variant<bool, int> ListenerInventory::holdsListener(std::int32_t pid) const
{
    const Private &d = *m_private;
    return HeldSockets::any(d.root.get(), pid, d.sockets,
                            std::chrono::steady_clock::now() + d.searchTime);
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/ListenerInventory.h"

#include "Helper/linux/HeldSockets.h"
#include "Helper/linux/ListenerInventoryPrivate.h"

#include <cerrno>
#include <chrono>
#include <new>
#include <optional>
#include <utility>

namespace Tarnwick {

namespace {

ListingError outOfMemory()
{
    return {ENOMEM, "no memory left"};
}

} // namespace

ListenerInventory::ListenerInventory()
    : ListenerInventory(Options{})
{
}

ListenerInventory::ListenerInventory(const Options &options)
    : m_private(std::make_unique<Private>(options))
{
}

ListenerInventory::~ListenerInventory() = default;

/// Calls @p scan; false where the memory does not suffice.
template<class Call>
bool ListenerInventory::Private::tryWithMemory(const Call &scan)
{
    try {
        if (isInterrupted) {
            census = ProcessCensus(root.get());
            groups = ControlGroups();
            isInterrupted = false;
        }
        scan(*this);
        return true;
    } catch (const std::bad_alloc &) {
        // Half a scan is not to be built upon.
        memory.startOver();
        backoff = {};
        sockets = {};
        isInterrupted = true;
        return false;
    }
}

Scan ListenerInventory::scan(const ScanRequest &request)
{
    std::optional<Scan> found;
    const bool isDone = m_private->tryWithMemory([&](Private &d) { found = d.scan(request); });
    return isDone ? *std::move(found) : Scan(outOfMemory());
}

std::optional<ListingError> ListenerInventory::visit(const PortVisitor &visitor)
{
    std::optional<ListingError> error;
    const bool isDone = m_private->tryWithMemory([&](Private &d) { error = d.visit(visitor); });
    return isDone ? std::move(error) : outOfMemory();
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

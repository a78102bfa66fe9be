// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Core/DiffEngine.h"

#include "Core/MainThread.h"
#include "Core/PortRegistry.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <unordered_set>
#include <utility>

namespace Tarnwick {

namespace {

struct HashOfEntry
{
    std::size_t operator()(const SharedPortEntry &entry) const noexcept
    {
        return std::hash<PortEntry>{}(*entry);
    }
};

struct EqualEntries
{
    bool operator()(const SharedPortEntry &left, const SharedPortEntry &right) const
    {
        return *left == *right;
    }
};

using EntrySet = std::unordered_set<SharedPortEntry, HashOfEntry, EqualEntries>;

struct Change
{
    enum class Kind : std::uint8_t { Opened, Closed };

    Kind kind;
    SharedPortEntry entry;

    void applyTo(PortRegistry &registry) const
    {
        if (kind == Kind::Opened) {
            registry.portOpened(entry);
        } else {
            registry.portClosed(*entry);
        }
    }
};

/// Makes @p previous the set of @p entries, and tells the changes: additions before removals. An
/// entry that stays keeps the object that it had, so that the new one takes no memory.
std::vector<Change> replace(EntrySet &previous, const std::vector<SharedPortEntry> &entries)
{
    std::vector<Change> changes;
    EntrySet current;
    current.reserve(entries.size());
    for (const SharedPortEntry &entry : entries) {
        const auto known = previous.find(entry);
        const bool isNew = known == previous.end();
        if (current.insert(isNew ? entry : *known).second && isNew) {
            changes.push_back({Change::Kind::Opened, entry});
        }
    }
    for (const SharedPortEntry &entry : previous) {
        if (!current.contains(entry)) {
            changes.push_back({Change::Kind::Closed, entry});
        }
    }
    previous = std::move(current);
    return changes;
}

} // namespace

/// What the calls in flight share with the engine.
struct DiffEngine::State
{
    DiffEngine *engine; ///< null when it is gone; of the main thread
    EntrySet previous;  ///< of the last scan that was compared; of the executor's thread
};

DiffEngine::DiffEngine(PortRegistry &registry)
    : m_registry(registry)
    , m_state(std::make_shared<State>(State{this, {}}))
{
}

DiffEngine::~DiffEngine()
{
    m_state->engine = nullptr;
}

QCoro::Task<void> DiffEngine::process(std::vector<SharedPortEntry> entries)
{
    return apply(m_state, std::move(entries));
}

QCoro::Task<void> DiffEngine::apply(std::shared_ptr<State> state,
                                    std::vector<SharedPortEntry> entries)
{
    co_await state->engine->m_executor.enter();
    std::vector<Change> changes = replace(state->previous, entries);
    entries = {}; // thousands of entries are freed here, not on the main thread
    for (Change &change : changes) {
        co_await MainThread::enter();
        if (state->engine == nullptr) {
            co_return;
        }
        change.applyTo(state->engine->m_registry);
        if (state->engine == nullptr) {
            co_return;
        }
        co_await state->engine->m_executor.enter();
        change.entry.reset(); // when closed, the last owner is as a rule this one
    }
    co_await MainThread::enter();
}

} // namespace Tarnwick

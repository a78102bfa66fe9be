// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Core/DiffEngine.h"

#include "Core/MainThread.h"
#include "Core/PortRegistry.h"
#include "Core/ScanDifferences.h"

#include <memory>
#include <utility>

namespace Tarnwick {

/// What the calls in flight share with the engine.
struct DiffEngine::State
{
    DiffEngine *engine;            ///< null when it is gone; of the main thread
    ScanDifferences differences{}; ///< of the executor's thread
};

DiffEngine::DiffEngine(PortRegistry &registry)
    : m_registry(registry)
    , m_state(std::make_shared<State>(State{this}))
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
    std::vector<EntryChange> changes = state->differences.begin(entries);
    entries = {}; // thousands of entries are freed here, not on the main thread
    do {
        for (EntryChange &change : changes) {
            co_await MainThread::enter();
            if (state->engine == nullptr) {
                co_return;
            }
            change.applyTo(state->engine->m_registry);
            if (state->engine == nullptr) {
                co_return;
            }
            co_await state->engine->m_executor.enter();
            state->differences.made(change);
            change.entry.reset(); // when closed, the last owner is as a rule this one
        }
        changes = state->differences.repairs();
    } while (!changes.empty());
    state->differences.end();
    co_await MainThread::enter();
}

} // namespace Tarnwick

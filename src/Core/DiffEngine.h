// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Core/SerialExecutor.h"
#include "Models/PortEntry.h"

#include <QCoroTask>

#include <memory>
#include <vector>

namespace Tarnwick {

class PortRegistry;

/// Compares each scan with the one before it and applies only the differences to the registry, so
/// that an entry stays what it was when it was first seen for as long as it listens. Compares on a
/// thread of its own. Lives on the main thread; a call that is in flight when the engine goes ends
/// without further changes.
class DiffEngine
{
public:
    /// @p registry outlives the engine.
    explicit DiffEngine(PortRegistry &registry);
    ~DiffEngine();
    DiffEngine(const DiffEngine &) = delete;
    DiffEngine &operator=(const DiffEngine &) = delete;

    /// The one engine of the program, made with the first call; its registry is the shared state.
    [[nodiscard]] static DiffEngine &shared();

    /// Brings the registry up to date with one scan and then continues its caller, on the main
    /// thread. Of equal entries the first counts. What is new is opened, in the order of the list,
    /// then what is gone is closed; each change is one visit to the main thread, between which
    /// other calls may proceed: they compare with the entries of this one. Where calls have
    /// overlapped, the last of them to end leaves the registry as if each had been applied whole
    /// before the next, without touching what is right. Main thread.
    [[nodiscard]] QCoro::Task<void> process(std::vector<SharedPortEntry> entries);

private:
    struct State;

    static QCoro::Task<void> apply(std::shared_ptr<State> state,
                                   std::vector<SharedPortEntry> entries);

    PortRegistry &m_registry;
    std::shared_ptr<State> m_state;
    SerialExecutor m_executor;
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Core/PortRegistry.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Tarnwick {

/// Writes down what is opened and closed: "+node:3000", "-node:3000".
class RecordingRegistry : public PortRegistry
{
public:
    void portOpened(SharedPortEntry entry) override
    {
        if (onOpened) {
            onOpened(*entry);
        }
        record('+', *entry);
    }
    void portClosed(const PortEntry &entry) override { record('-', entry); }

    std::vector<std::string> calls;
    /// Called during each call, after it was written down.
    std::function<void(const std::string &)> onCall;
    std::function<void(const PortEntry &)> onOpened; ///< called first with each entry

private:
    void record(char sign, const PortEntry &entry)
    {
        calls.push_back(sign + entry.process + ':' + std::to_string(entry.port));
        if (onCall) {
            onCall(std::string(calls.back()));
        }
    }
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/Updater.h"

#include <string>
#include <utility>
#include <vector>

namespace Tarnwick {

/// An updater that a test plays: what it is told is written down, and the test calls the handlers:
/// when and on what thread it likes.
class FakeUpdater : public Updater
{
public:
    void start(Handlers given) override
    {
        calls.emplace_back("start");
        handlers = std::move(given);
    }
    [[nodiscard]] bool automaticallyChecksForUpdates() const override { return isAutomatic; }
    void setAutomaticallyChecksForUpdates(bool automatically) override
    {
        isAutomatic = automatically;
    }
    void checkForUpdates() override { calls.emplace_back("check"); }
    void cancelCheck() override { calls.emplace_back("cancel"); }
    void installUpdate() override { calls.emplace_back("install"); }
    void recordSeen(const std::string &version) override { calls.push_back("seen " + version); }

    Handlers handlers;
    bool isAutomatic = false;
    std::vector<std::string> calls;
};

} // namespace Tarnwick

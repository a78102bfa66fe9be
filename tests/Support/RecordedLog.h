// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/AppLog.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <chrono>
#include <fstream>
#include <string>
#include <vector>

namespace Tarnwick {

/// Lets the diagnostic log go into a folder of the test's own, and reads it.
class RecordedLog
{
public:
    RecordedLog()
        : m_dataHome("XDG_DATA_HOME", m_folder.path().string())
    {
    }
    ~RecordedLog() { AppLog::flush(patience); }
    RecordedLog(const RecordedLog &) = delete;
    RecordedLog &operator=(const RecordedLog &) = delete;

    /// What was logged so far, without the timestamps.
    [[nodiscard]] std::vector<std::string> messages() const
    {
        AppLog::flush(patience);
        std::ifstream file(m_folder.path() / "Tarnwick" / "app.log");
        std::vector<std::string> messages;
        for (std::string line; std::getline(file, line);) {
            messages.push_back(line.substr(line.find(' ') + 1));
        }
        return messages;
    }

private:
    static constexpr std::chrono::seconds patience{30};

    TemporaryFolder m_folder;
    ScopedEnvironment m_dataHome;
};

} // namespace Tarnwick

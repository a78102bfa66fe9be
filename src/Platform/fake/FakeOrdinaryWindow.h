// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/OrdinaryWindow.h"

#include <memory>
#include <utility>

namespace Tarnwick {

/// A window that is on no screen.
class FakeOrdinaryWindow : public OrdinaryWindow
{
public:
    /// What a test sees of the windows of one maker. Outlives them.
    struct Record
    {
        int made = 0;
        int alive = 0;
        int shown = 0;
        int shownWithoutFocus = 0;
        Description description; ///< of the one made last
        Handler closed;          ///< what the user's closing it does
    };

    FakeOrdinaryWindow(Record &record, const Description &description)
        : m_record(record)
    {
        ++m_record.made;
        ++m_record.alive;
        m_record.description = description;
    }
    ~FakeOrdinaryWindow() override { --m_record.alive; }

    [[nodiscard]] static Maker maker(Record &record)
    {
        return [&record](const Description &description) {
            return std::make_unique<FakeOrdinaryWindow>(record, description);
        };
    }

    void show() override { ++m_record.shown; }
    void showWithoutFocus() override { ++m_record.shownWithoutFocus; }
    void setClosedHandler(Handler handler) override { m_record.closed = std::move(handler); }

private:
    Record &m_record;
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/FloatingPanel.h"

#include <memory>
#include <optional>
#include <utility>

namespace Tarnwick {

/// A panel that is on no screen.
class FakeFloatingPanel : public FloatingPanel
{
public:
    /// What a test sees of the panels of one maker. Outlives them.
    struct Record
    {
        int made = 0;
        int alive = 0;
        QUrl content;
        QSize size;
        std::optional<QRect> anchor; ///< where one was shown last
        int gap = 0;
        Handler dismiss; ///< what a click on it does
    };

    FakeFloatingPanel(Record &record, const QUrl &content, QSize size)
        : m_record(record)
    {
        ++m_record.made;
        ++m_record.alive;
        m_record.content = content;
        m_record.size = size;
    }
    ~FakeFloatingPanel() override { --m_record.alive; }

    [[nodiscard]] static Maker maker(Record &record)
    {
        return [&record](const QUrl &content, QSize size) {
            return std::make_unique<FakeFloatingPanel>(record, content, size);
        };
    }

    void setDismissHandler(Handler handler) override { m_record.dismiss = std::move(handler); }
    void show(const QRect &anchor, int gap) override
    {
        m_record.anchor = anchor;
        m_record.gap = gap;
    }

private:
    Record &m_record;
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/Popover.h"

#include <utility>
#include <vector>

namespace Tarnwick {

/// A popover that writes down what is done to it.
class FakePopover : public Popover
{
public:
    void prepare() override { isPrepared = true; }
    [[nodiscard]] bool isShown() const override { return m_isShown; }
    [[nodiscard]] bool wasClosedByThisClick() override { return closedByThisClick; }
    void show(const std::optional<QRect> &anchor) override
    {
        m_isShown = true;
        anchors.push_back(anchor);
    }
    void close() override
    {
        m_isShown = false;
        ++closings;
    }
    void setWindowClosedHandler(Handler handler) override { windowClosed = std::move(handler); }

    bool isPrepared = false;
    bool closedByThisClick = false;
    std::vector<std::optional<QRect>> anchors; ///< one for each showing
    int closings = 0;
    Handler windowClosed;

private:
    bool m_isShown = false;
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/SettingsWindowOpener.h"

#include "Core/NeverDestroyed.h"

#include <utility>

namespace Tarnwick {

SettingsWindowOpener &SettingsWindowOpener::shared()
{
    static NeverDestroyed<SettingsWindowOpener> opener;
    return *opener;
}

void SettingsWindowOpener::setOpen(Open open)
{
    m_open = std::move(open);
}

void SettingsWindowOpener::show() const
{
    if (m_open) {
        m_open();
    }
}

} // namespace Tarnwick

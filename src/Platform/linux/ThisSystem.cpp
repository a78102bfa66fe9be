// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/SystemTexts.h"

namespace Tarnwick {

const SystemTexts &SystemTexts::ofThisSystem()
{
    return ofLinux();
}

} // namespace Tarnwick

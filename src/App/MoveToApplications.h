// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/ModalQuestion.h"

#include <cstdint>

namespace Tarnwick {

class ApplicationBundle;
class Preferences;

/// The offer to move a copy of the application that was started from just anywhere into the folder
/// for applications. It is made at the start of a launch, before there is anything to see, until
/// the user declines, and never to what is there already, by whatever links or mounts it was found.
/// No failure is shown: the application goes on where it is. Main thread.
class MoveToApplications
{
public:
    enum class Outcome : std::uint8_t {
        Stays,
        Moved, ///< the application was told to terminate, and its copy starts a second later
    };

    MoveToApplications() = delete;

    /// Asks by @p ask if there is reason to, and does what the answer says. Returns when that is
    /// done.
    [[nodiscard]] static Outcome promptIfNeeded(ApplicationBundle &bundle, Preferences &preferences,
                                                const AskUser &ask);

private:
    static Outcome moveAndRelaunch(ApplicationBundle &bundle);
};

} // namespace Tarnwick

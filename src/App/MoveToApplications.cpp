// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/MoveToApplications.h"

#include "App/Preferences.h"
#include "Platform/ApplicationBundle.h"

#include <filesystem>
#include <string>
#include <system_error>

namespace Tarnwick {

namespace {

namespace fs = std::filesystem;

ModalQuestion question()
{
    return {.message = QStringLiteral("Move Tarnwick to Applications?"),
            .informativeText =
                QStringLiteral("Tarnwick works best when it lives in your Applications folder. "
                               "Moving it there ensures it launches reliably and that automatic "
                               "updates apply cleanly."),
            .firstButton = QStringLiteral("Move to Applications"),
            .secondButton = QStringLiteral("Do Not Move")};
}

/// Whether both are there and one and the same, whatever links or mounts lead to it.
bool areSame(const fs::path &one, const fs::path &other)
{
    std::error_code failed;
    return fs::equivalent(one, other, failed);
}

/// @p folder ends with a slash. The path of a running program has no links in it, and the folder
/// may be one: names alone would not tell.
bool liesIn(const std::string &path, const std::string &folder)
{
    if (path.starts_with(folder)) {
        return true;
    }
    fs::path above = path;
    while (above.has_relative_path()) {
        above = above.parent_path();
        if (areSame(above, folder)) {
            return true;
        }
    }
    return false;
}

bool isInPlace(const ApplicationBundle &bundle)
{
    const std::string path = bundle.path();
    return liesIn(path, bundle.applications()) || liesIn(path, bundle.userApplications() + "/");
}

} // namespace

MoveToApplications::Outcome MoveToApplications::promptIfNeeded(ApplicationBundle &bundle,
                                                               Preferences &preferences,
                                                               const AskUser &ask)
{
    if (!bundle.isPortable() || isInPlace(bundle) || preferences.declinedMoveToApplications()) {
        return Outcome::Stays;
    }
    if (ask(question()) == ModalAnswer::FirstButton) {
        return moveAndRelaunch(bundle);
    }
    preferences.setDeclinedMoveToApplications();
    return Outcome::Stays;
}

MoveToApplications::Outcome MoveToApplications::moveAndRelaunch(ApplicationBundle &bundle)
{
    const BundleCopy copy{.source = bundle.path(), .applications = bundle.applications()};
    const std::string target = copy.target();
    if (areSame(copy.source, target)) {
        return Outcome::Stays; // what is removed first would be the only copy
    }
    if (bundle.runPrivileged(copy) == ApplicationBundle::Privileged::Failed) {
        return Outcome::Stays;
    }
    bundle.takeAlong(target);
    // By then this instance has ended.
    bundle.launch("/bin/sh", {"-c", "sleep 1 && " + bundle.openCommand(target)});
    bundle.terminate();
    return Outcome::Moved;
}

} // namespace Tarnwick

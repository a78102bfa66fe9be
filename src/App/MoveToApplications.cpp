// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/MoveToApplications.h"

#include "App/Preferences.h"
#include "Platform/ApplicationBundle.h"
#include "Shared/ShellQuoting.h"

#include <string>

namespace Tarnwick {

namespace {

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

bool isInPlace(const ApplicationBundle &bundle)
{
    const std::string path = bundle.path();
    return path.starts_with(bundle.applications()) ||
           path.starts_with(bundle.userApplications() + "/");
}

} // namespace

void MoveToApplications::promptIfNeeded(ApplicationBundle &bundle, Preferences &preferences,
                                        const AskUser &ask)
{
    if (!bundle.isPortable() || isInPlace(bundle) || preferences.declinedMoveToApplications()) {
        return;
    }
    if (ask(question()) == ModalAnswer::FirstButton) {
        moveAndRelaunch(bundle);
        return;
    }
    preferences.setDeclinedMoveToApplications();
}

void MoveToApplications::moveAndRelaunch(ApplicationBundle &bundle)
{
    const std::string source = bundle.path();
    const std::string folder = bundle.applications();
    const std::string target = folder + source.substr(source.rfind('/') + 1);
    const std::string removal = "rm -rf " + ShellQuoting::quote(target);
    const std::string copy = "cp -R " + ShellQuoting::quote(source) + " " + folder;
    if (bundle.runPrivileged(removal + " && " + copy) == ApplicationBundle::Privileged::Failed) {
        return;
    }
    // By then this instance has ended.
    bundle.launch("/bin/sh", {"-c", "sleep 1 && " + bundle.openCommand(target)});
    bundle.terminate();
}

} // namespace Tarnwick

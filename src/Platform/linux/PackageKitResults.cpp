// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/PackageKitResults.h"

#include <algorithm>

namespace Tarnwick::PackageKitResults {

namespace {

constexpr const char *heldText =
    "The system holds this update back: the package is on hold, its version is pinned, or the "
    "update needs something that cannot be installed. The package manager can say more.";

constexpr const char *notPackagedText =
    "This copy of Tarnwick was not installed by a package manager, so updates of it have to be "
    "fetched from where it came from. It runs from:\n";

} // namespace

QString nameIn(const QString &packageId)
{
    return packageId.section(u';', 0, 0);
}

QString versionIn(const QString &packageId)
{
    return packageId.section(u';', 1, 1);
}

const Package *updateOf(const QString &package, const Outcome &updates, Choice choice)
{
    const auto isChosen = [&package, choice](const Package &one) {
        return one.isBlocked == (choice == Choice::HeldBack) && nameIn(one.id) == package;
    };
    const auto &packages = updates.packages;
    const auto update = std::find_if(packages.begin(), packages.end(), isChosen);
    return update == packages.end() ? nullptr : &*update;
}

bool isInstalled(const QString &update, const Outcome &installed)
{
    return std::any_of(
        installed.packages.begin(), installed.packages.end(),
        [version = versionIn(update)](const Package &one) { return versionIn(one.id) == version; });
}

UpdateResult failed(const std::string &words)
{
    return {.kind = UpdateResult::Kind::Failed, .version = {}, .text = words};
}

UpdateResult available(const QString &update, const Outcome &details)
{
    // Without the text, which is an extra, the update is as good.
    const QString text = details.updateText.isEmpty() ? details.changeLog : details.updateText;
    return {.kind = UpdateResult::Kind::Available,
            .version = versionIn(update).toStdString(),
            .text = text.trimmed().toStdString()};
}

UpdateResult held(const QString &update)
{
    return {.kind = UpdateResult::Kind::Held,
            .version = versionIn(update).toStdString(),
            .text = heldText};
}

UpdateResult installed(const QString &update)
{
    return {.kind = UpdateResult::Kind::Installed,
            .version = versionIn(update).toStdString(),
            .text = {}};
}

UpdateResult notPackaged(const std::filesystem::path &executable)
{
    return unavailable(notPackagedText + executable.string());
}

UpdateResult unavailable(const std::string &failure)
{
    return {.kind = UpdateResult::Kind::Unavailable, .version = {}, .text = failure};
}

UpdateResult withOldLists(UpdateResult result, const std::string &refusal)
{
    std::string text =
        "The lists of packages could not be refreshed, so they may be old: " + refusal;
    if (!result.text.empty()) {
        text += "\n\n" + result.text;
    }
    result.text = std::move(text);
    return result;
}

} // namespace Tarnwick::PackageKitResults

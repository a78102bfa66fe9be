// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Tarnwick {

/// What a check for updates, or the installation of one, has come to.
struct UpdateResult
{
    enum class Kind : std::uint8_t {
        UpToDate,
        Available,
        Held, ///< there is an update that the system does not install
        Installed,
        Failed,
        Unavailable, ///< no updater works for this copy of the application
    };

    Kind kind = Kind::UpToDate;
    std::string version; ///< of what is available, held back or was installed
    std::string text;    ///< what is new, or why it is so, in words for the user; may be empty
    bool isSeen = false; ///< the user has seen this update already: see Updater::recordSeen()

    friend bool operator==(const UpdateResult &, const UpdateResult &) = default;
};

/// The platform's own updater: it knows where updates come from, how they are verified and how
/// they are installed, and keeps the choice of automatic checks. Used on the main thread; its
/// handlers are called on any.
class Updater
{
public:
    struct Handlers
    {
        /// Called once when the updater turns out to work for this copy of the application; never
        /// where it does not.
        std::function<void()> found;
        /// Called with the first value as soon as it starts, then with every change.
        std::function<void(bool can)> canCheckForUpdates;
        /// The result of every check and installation that the user asked for; of automatic checks
        /// only updates that were found, and that there is none any more after one was reported.
        /// Never called by an updater that has windows of its own for that.
        std::function<void(const UpdateResult &result)> ended;
    };

    Updater() = default;
    virtual ~Updater() = default;
    Updater(const Updater &) = delete;
    Updater &operator=(const Updater &) = delete;

    /// Begins to work, without waiting; from then on it checks once a day when it shall. Call it
    /// once.
    virtual void start(Handlers handlers) = 0;

    [[nodiscard]] virtual bool automaticallyChecksForUpdates() const = 0;
    /// Kept between runs.
    virtual void setAutomaticallyChecksForUpdates(bool automatically) = 0;

    /// Looks for an update as the user wishes; a check that runs already becomes the user's. Where
    /// no updater works, the result says why. Nothing while an installation runs.
    virtual void checkForUpdates() = 0;

    /// The user does not want the check that runs any more: nothing is told of it, and it ends.
    /// Nothing while none runs.
    virtual void cancelCheck() = 0;

    /// Lets the platform install the update that was last told of. What comes of it is told in
    /// every case: it fails when there is none, and while a check or an installation runs.
    virtual void installUpdate() = 0;

    /// The user has seen that @p version is available. Kept between runs.
    virtual void recordSeen(const std::string &version) = 0;

    /// The updater of this platform. It is not yet started.
    [[nodiscard]] static std::unique_ptr<Updater> forThisApplication();
};

} // namespace Tarnwick

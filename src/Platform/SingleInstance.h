// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace Tarnwick {

/// Sees to it that one Tarnwick runs in a session: who starts it again gets the one that is there.
/// Main thread.
class SingleInstance
{
public:
    /// Who starts Tarnwick, and so whether another one that runs already opens its panel.
    enum class Start : std::uint8_t { ByUser, ByDesktop };

    enum class Claim : std::uint8_t {
        First,           ///< this one is it
        OtherRuns,       ///< another one is, and has opened its panel for the user
        OtherSilent,     ///< another one is, but does not answer
        NoSessionBus,    ///< that cannot be known
        BusUnresponsive, ///< nor this: there is a session bus, but it does not answer
    };

    using ClaimHandler = std::function<void(Claim claim)>;
    using Handler = std::function<void()>;

    SingleInstance() = default;
    virtual ~SingleInstance() = default;
    SingleInstance(const SingleInstance &) = delete;
    SingleInstance &operator=(const SingleInstance &) = delete;

    /// Called when somebody starts Tarnwick again.
    virtual void setActivationHandler(Handler handler) = 0;

    /// Called when another one has become the first since: the session bus was gone for a while,
    /// and that one was there before this one. This one is to end.
    virtual void setReplacementHandler(Handler handler) = 0;

    /// Finds out who is first, without waiting, and calls @p handler once. Call it once. Who is
    /// first stays it, also when the session bus is started again; who found none tries again, and
    /// a bus that did not answer in time is waited for.
    virtual void claim(Start start, ClaimHandler handler) = 0;

    /// The instance as this platform knows it.
    [[nodiscard]] static std::unique_ptr<SingleInstance> make();
};

} // namespace Tarnwick

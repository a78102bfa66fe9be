// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace Tarnwick {

/// The running application as one of the things that the desktop starts when the user's session
/// begins. The desktop's registration is the only truth: nothing is remembered here. Main thread.
class LoginItem
{
public:
    enum class Status : std::uint8_t {
        NotRegistered,    ///< not there, or switched off
        Enabled,          ///< starts with the session
        RequiresApproval, ///< registered, but the user has yet to allow it in the system's settings
        NotFound,         ///< registered in a way that starts nothing, or something else
    };
    /// Why something failed, in the system's words; absent when it did not.
    using Failure = std::optional<std::string>;

    LoginItem() = default;
    virtual ~LoginItem() = default;
    LoginItem(const LoginItem &) = delete;
    LoginItem &operator=(const LoginItem &) = delete;

    /// As it is now.
    [[nodiscard]] virtual Status status() const = 0;

    /// Registers the application as it runs now; one that is registered already is registered anew.
    [[nodiscard]] virtual Failure registerApplication() = 0;

    /// No failure where it is not registered.
    [[nodiscard]] virtual Failure unregisterApplication() = 0;

    /// The item of the application that runs.
    [[nodiscard]] static std::unique_ptr<LoginItem> ofThisApplication();
};

} // namespace Tarnwick

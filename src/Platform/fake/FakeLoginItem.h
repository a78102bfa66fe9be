// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/LoginItem.h"

#include <string>
#include <vector>

namespace Tarnwick {

/// A login item that a test sets, and that writes down what it is asked for.
class FakeLoginItem : public LoginItem
{
public:
    [[nodiscard]] Status status() const override
    {
        ++statusReads;
        return state;
    }
    [[nodiscard]] Failure registerApplication() override
    {
        calls.emplace_back("register");
        if (!failure) {
            state = afterRegistration;
        }
        return failure;
    }
    [[nodiscard]] Failure unregisterApplication() override
    {
        calls.emplace_back("unregister");
        if (!failure) {
            state = Status::NotRegistered;
        }
        return failure;
    }

    Status state = Status::NotRegistered;
    Status afterRegistration = Status::Enabled;
    Failure failure; ///< of every change
    std::vector<std::string> calls;
    mutable int statusReads = 0;
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/ApplicationBundle.h"

#include <string>
#include <vector>

namespace Tarnwick {

/// A bundle that lies where a test says, on a system where a shell makes the copy, and that writes
/// down what is done.
class FakeApplicationBundle : public ApplicationBundle
{
public:
    [[nodiscard]] std::string path() const override { return place; }
    [[nodiscard]] bool isPortable() const override { return canBeMoved; }
    [[nodiscard]] std::string applications() const override { return "/Applications/"; }
    [[nodiscard]] std::string userApplications() const override
    {
        return "/Users/ann/Applications";
    }
    Privileged runPrivileged(const BundleCopy &copy) override
    {
        calls.push_back("privileged: " + copy.shellCommand());
        return outcome;
    }
    void takeAlong(const std::string &path) override { takenTo = path; }
    [[nodiscard]] std::string openCommand(const std::string &path) const override
    {
        return "open '" + path + "'";
    }
    void launch(const std::string &program, const std::vector<std::string> &arguments) override
    {
        std::string call = "launch: " + program;
        for (const std::string &argument : arguments) {
            call += " [" + argument + "]";
        }
        calls.push_back(call);
    }
    void terminate() override { calls.emplace_back("terminate"); }
    [[nodiscard]] QVariantMap information() const override { return told; }

    std::string place = "/Users/ann/Downloads/Tarnwick.app";
    bool canBeMoved = true;
    Privileged outcome = Privileged::Done;
    QVariantMap told;
    std::string takenTo;
    std::vector<std::string> calls;
};

} // namespace Tarnwick

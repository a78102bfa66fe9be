// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <map>
#include <string>
#include <string_view>

namespace Tarnwick {

// The record of SampleRecord.h as JSON, with or without a flaw.

/// The JSON text of each value of the sample record.
using Members = std::map<std::string_view, std::string>;

inline Members sampleMembers()
{
    return {{"pid", "42"},
            {"port", "3000"},
            {"processName", R"("node")"},
            {"commandPath", R"("/usr/local/bin/node")"},
            {"cwd", R"("/home/ann/site")"},
            {"arguments", R"(["node","server.js"])"},
            {"originArguments", R"(["npm","run","dev"])"},
            {"processStartedAt", R"("2024-05-01T09:30:00Z")"},
            {"memoryBytes", "46500000"}};
}

inline std::string objectOf(const Members &members)
{
    std::string text;
    for (const auto &[key, value] : members) {
        text += text.empty() ? "{" : ",";
        text += '"' + std::string(key) + "\":" + value;
    }
    return text.empty() ? "{}" : text + "}";
}

inline std::string sampleObject()
{
    return objectOf(sampleMembers());
}

/// The sample record with one member replaced.
inline std::string objectWith(std::string_view key, const std::string &value)
{
    Members members = sampleMembers();
    members[key] = value;
    return objectOf(members);
}

inline std::string objectWithout(std::string_view key)
{
    Members members = sampleMembers();
    members.erase(key);
    return objectOf(members);
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/ClockText.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <ctime>

namespace Tarnwick {

namespace {

std::string formatted(Timestamp time, const char *format)
{
    const std::time_t seconds =
        std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count();
    std::tm local{};
    if (localtime_r(&seconds, &local) == nullptr) {
        return {};
    }
    std::array<char, 64> text{};
    const std::size_t size = std::strftime(text.data(), text.size(), format, &local);
    return {text.data(), size};
}

} // namespace

std::string ClockText::time(Timestamp time)
{
    return formatted(time, "%H:%M:%S");
}

std::string ClockText::dateAndTime(Timestamp time)
{
    return formatted(time, "%Y-%m-%d %H:%M:%S");
}

} // namespace Tarnwick

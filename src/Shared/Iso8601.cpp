// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/Iso8601.h"

#include "Models/Precondition.h"

#include <chrono>
#include <cstddef>

namespace Tarnwick {

namespace {

using namespace std::chrono;

constexpr Timestamp earliest = sys_days{year{0} / January / 1};
constexpr Timestamp latest = sys_days{year{9999} / December / 31} + days{1} - milliseconds{1};

/// The places of the fixed form "2024-05-01T09:30:00"; a '0' stands for any digit.
constexpr std::string_view dateTimeForm = "0000-00-00T00:00:00";
constexpr std::string_view offsetForm = "+00:00";

void appendNumber(std::string &text, unsigned number, std::size_t width)
{
    const std::string digits = std::to_string(number);
    text.append(width - digits.size(), '0');
    text += digits;
}

/// The date and time of @p time without a zone, fractions of a second left out.
std::string dateTime(Timestamp time)
{
    if (time < earliest || time > latest) {
        preconditionFailure("a date must lie in the years 0000 to 9999");
    }
    const sys_days day = floor<days>(time);
    const year_month_day date{day};
    const hh_mm_ss clock{floor<seconds>(time - day)};

    std::string text;
    text.reserve(dateTimeForm.size() + sizeof(".000Z"));
    appendNumber(text, static_cast<unsigned>(static_cast<int>(date.year())), 4);
    text += '-';
    appendNumber(text, static_cast<unsigned>(date.month()), 2);
    text += '-';
    appendNumber(text, static_cast<unsigned>(date.day()), 2);
    text += 'T';
    appendNumber(text, static_cast<unsigned>(clock.hours().count()), 2);
    text += ':';
    appendNumber(text, static_cast<unsigned>(clock.minutes().count()), 2);
    text += ':';
    appendNumber(text, static_cast<unsigned>(clock.seconds().count()), 2);
    return text;
}

constexpr bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

bool hasForm(std::string_view text, std::string_view form)
{
    if (text.size() != form.size()) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (form[i] == '0' ? !isDigit(text[i]) : text[i] != form[i]) {
            return false;
        }
    }
    return true;
}

/// The number that the @p width digits at @p position of @p text write.
int number(std::string_view text, std::size_t position, std::size_t width)
{
    int value = 0;
    for (const char digit : text.substr(position, width)) {
        value = value * 10 + (digit - '0');
    }
    return value;
}

std::optional<minutes> hoursAndMinutes(int hour, int minute)
{
    if (hour > 23 || minute > 59) {
        return std::nullopt;
    }
    return hours{hour} + minutes{minute};
}

/// How far the zone that @p text names is ahead of UTC.
std::optional<minutes> parseZone(std::string_view text)
{
    if (text == "Z") {
        return minutes{0};
    }
    const bool behind = text.starts_with('-');
    if ((!behind && !text.starts_with('+')) || !hasForm(text.substr(1), offsetForm.substr(1))) {
        return std::nullopt;
    }
    const std::optional<minutes> offset = hoursAndMinutes(number(text, 1, 2), number(text, 4, 2));
    return behind && offset ? -*offset : offset;
}

std::optional<Timestamp> parseDateTime(std::string_view text)
{
    if (!hasForm(text, dateTimeForm)) {
        return std::nullopt;
    }
    const year_month_day date{year{number(text, 0, 4)},
                              month{static_cast<unsigned>(number(text, 5, 2))},
                              day{static_cast<unsigned>(number(text, 8, 2))}};
    const std::optional<minutes> time = hoursAndMinutes(number(text, 11, 2), number(text, 14, 2));
    const int second = number(text, 17, 2);
    if (!date.ok() || !time || second > 59) {
        return std::nullopt;
    }
    return sys_days{date} + *time + seconds{second};
}

} // namespace

std::string Iso8601::formatSeconds(Timestamp time)
{
    return dateTime(time) + 'Z';
}

std::string Iso8601::formatMilliseconds(Timestamp time)
{
    std::string text = dateTime(time);
    text += '.';
    appendNumber(text, static_cast<unsigned>((time - floor<seconds>(time)).count()), 3);
    text += 'Z';
    return text;
}

std::optional<Timestamp> Iso8601::parseSeconds(std::string_view text)
{
    const std::optional<Timestamp> local = parseDateTime(text.substr(0, dateTimeForm.size()));
    if (!local) {
        return std::nullopt;
    }
    const std::optional<minutes> offset = parseZone(text.substr(dateTimeForm.size()));
    if (!offset) {
        return std::nullopt;
    }
    // An offset may carry the first and the last day out of the years that can be written again.
    const Timestamp time = *local - *offset;
    if (time < earliest || time > latest) {
        return std::nullopt;
    }
    return time;
}

} // namespace Tarnwick

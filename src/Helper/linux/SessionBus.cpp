// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/SessionBus.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

namespace Tarnwick {

namespace {

/// A value in an address of a server, as the D-Bus specification writes it ("Server Addresses").
std::string escaped(std::string_view value)
{
    constexpr std::string_view unescaped =
        "-_/.\\*0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    constexpr std::string_view digits = "0123456789abcdef";
    std::string result;
    for (const char character : value) {
        if (unescaped.find(character) != std::string_view::npos) {
            result += character;
            continue;
        }
        const auto byte = static_cast<unsigned char>(character);
        result += '%';
        result += digits[byte / digits.size()];
        result += digits[byte % digits.size()];
    }
    return result;
}

/// Empty where the session has no bus.
std::string address()
{
    const char *given = ::secure_getenv("DBUS_SESSION_BUS_ADDRESS");
    if (given != nullptr && *given != '\0') {
        return given;
    }
    const char *folder = ::secure_getenv("XDG_RUNTIME_DIR");
    return folder != nullptr ? "unix:path=" + escaped(folder) + "/bus" : std::string();
}

} // namespace

std::variant<BusHandle, int> openSessionBus()
{
    const std::string place = address();
    if (place.empty()) {
        return ENOMEDIUM;
    }
    sd_bus *made = nullptr;
    if (const int failed = sd_bus_new(&made); failed < 0) {
        return -failed;
    }
    BusHandle bus(made);
    int result = sd_bus_set_address(made, place.c_str());
    result = result < 0 ? result : sd_bus_set_bus_client(made, true);
    result = result < 0 ? result : sd_bus_set_trusted(made, true);
    result = result < 0 ? result : sd_bus_negotiate_fds(made, false);
    result = result < 0 ? result : sd_bus_start(made);
    if (result < 0) {
        return -result;
    }
    return bus;
}

} // namespace Tarnwick

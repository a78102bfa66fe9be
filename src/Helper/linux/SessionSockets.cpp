// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/SessionSockets.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>

namespace Tarnwick {

namespace {

using Part = SessionGuard::Part;

std::string_view variable(const char *name)
{
    const char *const value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// Takes what stands before the next @p separator off @p text.
std::string_view takeUntil(std::string_view &text, char separator)
{
    const std::string_view taken = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(text.size(), taken.size() + 1));
    return taken;
}

/// Undoes the escapes of a bus address, a percent sign and two hexadecimal digits.
std::string unescaped(std::string_view text)
{
    constexpr std::size_t digits = 2;
    constexpr int hexadecimal = 16;
    std::string result;
    while (!text.empty()) {
        unsigned char code = 0;
        const char *const first = text.data() + 1;
        if (text.front() == '%' && text.size() > digits &&
            std::from_chars(first, first + digits, code, hexadecimal).ptr == first + digits) {
            result += static_cast<char>(code);
            text.remove_prefix(1 + digits);
        } else {
            result += text.front();
            text.remove_prefix(1);
        }
    }
    return result;
}

} // namespace

std::vector<SessionSockets::Address> SessionSockets::addresses(unsigned user)
{
    std::vector<Address> found{
        {"/run/user/" + std::to_string(user) + "/bus", Part::MessageBus},
        {"/run/dbus/system_bus_socket", Part::MessageBus},
    };
    for (std::string &name : busNames(variable("DBUS_SESSION_BUS_ADDRESS"))) {
        found.push_back({std::move(name), Part::MessageBus});
    }
    for (std::string &name : displayNames(variable("DISPLAY"))) {
        found.push_back({std::move(name), Part::DisplayServer});
    }
    const std::string runtime(variable("XDG_RUNTIME_DIR"));
    if (const std::string display(variable("WAYLAND_DISPLAY")); !display.empty()) {
        found.push_back(
            {display.front() == '/' ? display : runtime + "/" + display, Part::DisplayServer});
    }
    return found;
}

std::vector<std::string> SessionSockets::busNames(std::string_view address)
{
    constexpr std::string_view transport = "unix:";
    constexpr std::string_view path = "path=";
    constexpr std::string_view abstractName = "abstract=";
    std::vector<std::string> names;
    while (!address.empty()) {
        std::string_view one = takeUntil(address, ';');
        if (!one.starts_with(transport)) {
            continue;
        }
        one.remove_prefix(transport.size());
        while (!one.empty()) {
            const std::string_view pair = takeUntil(one, ',');
            if (pair.starts_with(path)) {
                names.push_back(unescaped(pair.substr(path.size())));
            } else if (pair.starts_with(abstractName)) {
                names.push_back("@" + unescaped(pair.substr(abstractName.size())));
            }
        }
    }
    return names;
}

std::vector<std::string> SessionSockets::displayNames(std::string_view display)
{
    const std::string_view host = takeUntil(display, ':');
    const std::string_view number = display.substr(0, display.find('.'));
    const bool isNumber = !number.empty() && std::all_of(number.begin(), number.end(), [](char c) {
        return c >= '0' && c <= '9';
    });
    if (!isNumber || (!host.empty() && host != "unix")) {
        return {};
    }
    const std::string path = "/tmp/.X11-unix/X" + std::string(number);
    return {path, "@" + path};
}

std::map<std::uint32_t, SessionGuard::Part>
SessionSockets::listening(std::string_view table, const std::vector<Address> &addresses)
{
    // unix(7): number, references, protocol, flags, type, state, inode, name. The flag is
    // __SO_ACCEPTCON of the kernel.
    constexpr std::string_view accepting = "00010000";
    std::map<std::uint32_t, Part> found;
    while (!table.empty()) {
        std::string_view line = takeUntil(table, '\n');
        takeUntil(line, ' ');
        takeUntil(line, ' ');
        takeUntil(line, ' ');
        if (takeUntil(line, ' ') != accepting) {
            continue;
        }
        takeUntil(line, ' ');
        takeUntil(line, ' ');
        line.remove_prefix(std::min(line.size(), line.find_first_not_of(' ')));
        const std::string_view number = takeUntil(line, ' ');
        std::uint32_t inode = 0;
        std::from_chars(number.data(), number.data() + number.size(), inode);
        const auto address = std::find_if(addresses.begin(), addresses.end(),
                                          [line](const Address &one) { return one.name == line; });
        if (inode != 0 && address != addresses.end()) {
            found.emplace(inode, address->part);
        }
    }
    return found;
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/Support/Puppet.h"

#include <string>
#include <vector>

namespace Tarnwick {

/// What hostileServer() is called begins with this: the kernel's name for it, of which it keeps 15
/// characters only, so that what the process was called as tells the rest.
inline constexpr const char *hostileName = "fifteen-letters";

/// A process with as long a name as it may have, in characters that take six bytes each in JSON,
/// and a hundred arguments.
inline Puppet hostileServer()
{
    std::vector<std::string> arguments{hostileName + std::string(60'000, '\x01')};
    arguments.resize(100, std::string(40, '\x02'));
    Puppet server(Puppet::program(), arguments);
    server.rename(hostileName);
    return server;
}

/// A process whose listeners fill a listing, without anything that is unusual.
inline Puppet verboseServer()
{
    constexpr int listeners = 400;
    std::vector<std::string> arguments(600, std::string(100, 'x'));
    Puppet server(Puppet::program(), arguments);
    for (int count = 0; count < listeners; ++count) {
        server.listen();
    }
    return server;
}

} // namespace Tarnwick

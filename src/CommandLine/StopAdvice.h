// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/Container.h"
#include "Helper/Supervisor.h"

#include <string>
#include <string_view>

namespace Tarnwick {

/// Says what stops a server where the end of the process that holds its port would not do. All
/// texts are fit for a terminal.
class StopAdvice
{
public:
    StopAdvice() = delete;

    /// Why @p owner, "docker-proxy (pid 4711)", is not stopped, which forwards @p ports, "port
    /// 8080": "docker-proxy (pid 4711) forwards port 8080 to postgres in container 3f2a9c1d. To
    /// stop it: docker stop 3f2a9c1d".
    [[nodiscard]] static std::string ofForwarder(std::string_view owner, std::string_view ports,
                                                 const Forwarding &forwarding);

    /// "nodemon (pid 4712) has started it again. To stop it for good: kill 4712".
    [[nodiscard]] static std::string ofRestart(const Supervisor &supervisor);
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/ListenerSource.h"
#include "CommandLine/PortProbe.h"
#include "CommandLine/ProcessEnder.h"
#include "CommandLine/ServerProcesses.h"

namespace Tarnwick {

/// The machine that a command works on. All of it outlives the command.
struct CommandSystem
{
    ListenerSource &source;
    ProcessEnder &ender;
    const PortProbe &ports;
    ServerProcesses &processes;
};

} // namespace Tarnwick

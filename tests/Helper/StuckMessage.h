// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/linux/BusHandles.h"
#include "Shared/FileDescriptor.h"
#include "tests/Support/PrivateBus.h"

namespace Tarnwick {

/// A message with a descriptor in it that a bus cannot deliver, for the client that it is for never
/// reads: the bus has the descriptor open as long as this object lives.
class StuckMessage
{
public:
    /// Sends @p descriptor, of which only the bus has a copy afterwards. Throws std::runtime_error
    /// when the bus does not keep it.
    StuckMessage(const PrivateBus &bus, FileDescriptor descriptor);

private:
    BusHandle m_sender;
    BusHandle m_receiver;
};

} // namespace Tarnwick

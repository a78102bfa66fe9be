// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <vector>

namespace Tarnwick {

enum class DescriptorKind {
    Listener,
    UnixSocket, ///< one end of a pair, whose other end comes next
    Pipe,       ///< the same
    Event,
    File,
    Device,
};

/// Draws what @p count descriptors are, of which @p listeners (at most @p count) listen: a mix as
/// servers and desktop programs have it, with the listeners anywhere among the others, of which at
/// most @p before come before the last of them.
std::vector<DescriptorKind> drawMix(std::size_t count, std::size_t listeners, std::size_t before,
                                    std::mt19937_64 &random);

/// Opens the descriptors of a mix in its order, to stay open as long as the process lives. Gives
/// the ports of the listeners. Throws std::system_error.
std::vector<std::uint16_t> openMix(std::span<const DescriptorKind> mix);

/// Opens a socket that listens on a free port of 127.0.0.1 as long as the process lives, and gives
/// the port. Throws std::system_error.
std::uint16_t openListener();

} // namespace Tarnwick

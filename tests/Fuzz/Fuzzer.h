// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

/// What libFuzzer calls with each input, and the replay with each file of the corpus. A fuzzer
/// defines it and always returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace Tarnwick {

/// Ends the process when something that must hold for every input does not.
inline void require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

/// The input as text of any bytes.
inline std::string_view textOf(const std::uint8_t *data, std::size_t size)
{
    return size == 0 ? std::string_view()
                     : std::string_view(reinterpret_cast<const char *>(data), size);
}

} // namespace Tarnwick

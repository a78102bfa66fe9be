// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Models/Uuid.h"

#include "Models/Precondition.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include <sys/random.h>

namespace Tarnwick {

namespace {

/// The most that getentropy(3) gives at once.
constexpr std::size_t poolSize = 256;

/// One thread's stock of random bytes.
class RandomPool
{
public:
    std::array<std::uint8_t, 16> take()
    {
        if (m_used == m_bytes.size()) {
            refill();
        }
        std::array<std::uint8_t, 16> taken{};
        std::copy_n(m_bytes.data() + m_used, taken.size(), taken.begin());
        m_used += taken.size();
        return taken;
    }

private:
    void refill()
    {
        if (getentropy(m_bytes.data(), m_bytes.size()) != 0) {
            preconditionFailure("the system must have randomness to give");
        }
        m_used = 0;
    }

    std::array<std::uint8_t, poolSize> m_bytes{};
    std::size_t m_used = poolSize;
};

} // namespace

Uuid Uuid::random()
{
    thread_local RandomPool pool;
    std::array<std::uint8_t, 16> bytes = pool.take();
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0fU) | 0x40U); // version 4
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3fU) | 0x80U); // variant 1
    return Uuid(bytes);
}

std::string Uuid::text() const
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(36);
    for (std::size_t i = 0; i < m_bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            text += '-';
        }
        text += digits[m_bytes[i] >> 4U];
        text += digits[m_bytes[i] & 0x0fU];
    }
    return text;
}

} // namespace Tarnwick

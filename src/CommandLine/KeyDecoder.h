// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/Key.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Tarnwick {

/// Reads keys from the bytes that a terminal sends: UTF-8, and the control sequences of xterm
/// (ctlseqs, "PC-Style Function Keys"), the Linux console, rxvt and tmux for keys without a
/// character, with any modifiers.
class KeyDecoder
{
public:
    void add(std::string_view bytes) { m_bytes += bytes; }

    /// The next key; nothing where its bytes are not complete.
    [[nodiscard]] std::optional<Key> next();

    /// Whether the bytes so far may be the beginning of a key's. An escape character alone is the
    /// Escape key or the beginning of a sequence: which one, only time tells.
    [[nodiscard]] bool isIncomplete() const { return !m_bytes.empty(); }

    /// Takes what is incomplete for complete: an escape character for the Escape key.
    void complete() { m_isComplete = true; }

    void clear() { m_bytes.clear(); }

private:
    /// A key and how many bytes it takes; 0 where these are not complete.
    struct Decoded
    {
        Key key{};
        std::size_t size = 0;
    };
    [[nodiscard]] Decoded decoded() const;
    [[nodiscard]] Decoded decodedSequence() const;
    [[nodiscard]] Decoded decodedCharacter() const;

    std::string m_bytes;
    bool m_isComplete = false;
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/TextOutput.h"

namespace Tarnwick {

/// The output behind a file descriptor that others own. Nothing is buffered, and signals that
/// interrupt a write do not shorten it.
class DescriptorOutput : public TextOutput
{
public:
    explicit DescriptorOutput(int descriptor)
        : m_descriptor(descriptor)
    {
    }

    [[nodiscard]] int descriptor() const override { return m_descriptor; }

    /// From now on a write that would wait for its reader gives up, with
    /// `std::errc::interrupted`, as soon as @p descriptor is readable; -1 takes that back.
    void giveUpWhenReadable(int descriptor) { m_interrupter = descriptor; }

    [[nodiscard]] std::error_code write(std::string_view text) override;

    /// A terminal that does not know its size has the columns that COLUMNS names, else 80, and 24
    /// rows.
    [[nodiscard]] TerminalShape terminal() const override;

private:
    [[nodiscard]] std::error_code awaitReader() const;

    int m_descriptor;
    int m_interrupter = -1;
};

} // namespace Tarnwick

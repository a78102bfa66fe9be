// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/LineInput.h"

namespace Tarnwick {

/// The input behind a file descriptor that others own. Reads no further than the line it gives. A
/// terminal in raw mode passes keys on as they are: a carriage return ends a line, too, and Ctrl-C
/// and Ctrl-D end the input.
class DescriptorInput : public LineInput
{
public:
    explicit DescriptorInput(int descriptor)
        : m_descriptor(descriptor)
    {
    }

    [[nodiscard]] bool isTerminal() const override;
    [[nodiscard]] std::error_code discardPending() override;
    [[nodiscard]] std::optional<std::string> readLine() override;

private:
    int m_descriptor;
};

} // namespace Tarnwick

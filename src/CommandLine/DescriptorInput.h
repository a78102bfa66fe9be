// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CommandLine/LineInput.h"

namespace Tarnwick {

/// The input behind a file descriptor that others own. Reads no further than the line it gives.
class DescriptorInput : public LineInput
{
public:
    explicit DescriptorInput(int descriptor)
        : m_descriptor(descriptor)
    {
    }

    [[nodiscard]] bool isTerminal() const override;
    [[nodiscard]] std::optional<std::string> readLine() override;

private:
    int m_descriptor;
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <utility>

#include <unistd.h>

namespace Tarnwick {

/// Owns one file descriptor and closes it; -1 stands for none.
class FileDescriptor
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor)
        : m_descriptor(descriptor)
    {
    }
    ~FileDescriptor() { reset(); }
    FileDescriptor(FileDescriptor &&other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1))
    {
    }
    FileDescriptor &operator=(FileDescriptor &&other) noexcept
    {
        if (this != &other) {
            reset();
            m_descriptor = std::exchange(other.m_descriptor, -1);
        }
        return *this;
    }

    [[nodiscard]] int get() const { return m_descriptor; }
    [[nodiscard]] explicit operator bool() const { return m_descriptor >= 0; }

    /// Gives the descriptor up, to be closed by somebody else.
    int release() { return std::exchange(m_descriptor, -1); }

    void reset()
    {
        if (m_descriptor >= 0) {
            ::close(std::exchange(m_descriptor, -1));
        }
    }

private:
    int m_descriptor = -1;
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace Tarnwick {

/// A value that is made and never destroyed: what a service's `shared()` keeps in a static variable
/// of its own, so that the service may be used until the very end of the program.
template<class Value>
class NeverDestroyed
{
public:
    template<class... Arguments>
    explicit NeverDestroyed(Arguments &&...arguments)
    {
        std::construct_at(address(), std::forward<Arguments>(arguments)...);
    }
    ~NeverDestroyed() = default;
    NeverDestroyed(const NeverDestroyed &) = delete;
    NeverDestroyed &operator=(const NeverDestroyed &) = delete;

    [[nodiscard]] Value &operator*() { return *std::launder(address()); }

private:
    [[nodiscard]] Value *address() { return reinterpret_cast<Value *>(m_storage.data()); }

    alignas(Value) std::array<std::byte, sizeof(Value)> m_storage;
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace Tarnwick {

/// What the library gives away belongs to the C library's heap.
struct XcbFreeing
{
    void operator()(void *memory) const { std::free(memory); } // NOLINT(*-no-malloc)
};

template<class Reply>
using XcbReply = std::unique_ptr<Reply, XcbFreeing>;

/// The atom with that name; `XCB_ATOM_NONE` when the display does not answer.
[[nodiscard]] inline xcb_atom_t atom(xcb_connection_t *display, std::string_view name)
{
    const auto length = static_cast<std::uint16_t>(name.size());
    const XcbReply<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(display, xcb_intern_atom(display, 0, length, name.data()), nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

} // namespace Tarnwick

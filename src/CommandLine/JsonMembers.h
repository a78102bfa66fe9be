// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Helper/Container.h"
#include "Shared/RawPortInfoWriter.h"

#include <cstdint>
#include <string_view>

namespace Tarnwick {

/// Write parts of the object that is open in @p writer. All texts are UTF-8.
void writeKey(JsonWriter &writer, std::string_view key);
void writeString(JsonWriter &writer, std::string_view text);
void writeMember(JsonWriter &writer, std::string_view key, std::string_view text);
void writeMember(JsonWriter &writer, std::string_view key, std::int64_t number);

/// No member where @p text is empty.
void writeKnown(JsonWriter &writer, std::string_view key, std::string_view text);

/// The members that are known.
void writeMembers(JsonWriter &writer, const Container &container);
void writeMembers(JsonWriter &writer, const Forwarding &forwarding);

} // namespace Tarnwick

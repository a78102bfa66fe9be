// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/DesktopEntry.h"
#include "Platform/linux/EntryKeys.h"
#include "tests/Fuzz/Fuzzer.h"

#include <optional>

using namespace Tarnwick;

namespace {

/// What a reader must find after a key was set, whatever else is in the entry.
void changeEntry(DesktopEntry entry, const QByteArray &value)
{
    entry.set("Exec", value);
    entry.remove("Hidden");
    const std::optional<DesktopEntry> again = DesktopEntry::parse(entry.text());
    require(again.has_value());
    require(again->text() == entry.text());
    const std::optional<EntryKeys> keys = EntryKeys::read(entry.text(), EntryReader::GLib);
    require(keys.has_value());
    require(!keys->contains("Hidden"));
    require(keys->string("Exec").value_or(value) == value);
}

void readKeys(const QByteArray &text, EntryReader reader)
{
    if (const std::optional<EntryKeys> keys = EntryKeys::read(text, reader)) {
        static_cast<void>(keys->isTrue("Hidden"));
        static_cast<void>(keys->string("Exec"));
        static_cast<void>(keys->list("OnlyShowIn"));
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view bytes = textOf(data, size);
    const QByteArray text(bytes.data(), static_cast<qsizetype>(bytes.size()));
    // An argument is a word of the shell's kind, in which a percent sign stands twice.
    const QByteArray argument = QByteArray(text).replace('\0', '/');
    const QByteArray quoted = DesktopEntry::quotedArgument(argument);
    require(DesktopEntry::program(quoted) == QByteArray(argument).replace('%', "%%"));
    static_cast<void>(DesktopEntry::program(text));

    readKeys(text, EntryReader::GLib);
    readKeys(text, EntryReader::Systemd);
    changeEntry(DesktopEntry(), quoted);
    if (const std::optional<DesktopEntry> entry = DesktopEntry::parse(text)) {
        static_cast<void>(entry->hasMoreThan({"Exec", "Type"}));
        changeEntry(*entry, quoted);
    }
    return 0;
}

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

// Takes each input for the file of the login item that is there.

#include "Platform/linux/AutostartEntry.h"
#include "tests/Fuzz/Fuzzer.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

using namespace Tarnwick;

namespace fs = std::filesystem;

namespace {

/// A folder in the memory where there is one, for each change is brought to the disk.
class EntryFolder
{
public:
    EntryFolder()
    {
        const fs::path memory = "/dev/shm";
        std::error_code unknown;
        const fs::path base =
            fs::is_directory(memory, unknown) ? memory : fs::temp_directory_path();
        std::string name = (base / "tarnwick-fuzz-XXXXXX").string();
        require(mkdtemp(name.data()) != nullptr);
        m_path = name;
    }
    ~EntryFolder()
    {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    EntryFolder(const EntryFolder &) = delete;
    EntryFolder &operator=(const EntryFolder &) = delete;

    [[nodiscard]] const fs::path &path() const { return m_path; }

private:
    fs::path m_path;
};

void write(const fs::path &file, std::string_view text)
{
    std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const EntryFolder folder;
    // With Plasma's, text that systemd would not read is refused.
    static const bool hasNoDesktop = unsetenv("XDG_CURRENT_DESKTOP") == 0;
    require(hasNoDesktop);
    AutostartEntry entry({.user = folder.path(), .system = {}}, "/bin/true");
    write(entry.file(), textOf(data, size));
    const bool wasOff = entry.status() == LoginItem::Status::NotRegistered;
    require(!entry.unregisterApplication());
    require(entry.status() == LoginItem::Status::NotRegistered);

    write(entry.file(), textOf(data, size));
    require(!entry.registerApplication());
    require(fs::exists(entry.file()));
    require(!wasOff || !entry.unregisterApplication());
    return 0;
}

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/LogFile.h"

#include "Shared/FileDescriptor.h"
#include "Shared/Paths.h"
#include "Shared/WriteAll.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

using std::filesystem::path;

void deleteWhenTooLarge(const path &file)
{
    struct stat status = {};
    if (::stat(file.c_str(), &status) == 0 && status.st_size > LogFile::maximumSize) {
        ::unlink(file.c_str());
    }
}

/// Makes @p file with @p line in it, so that nobody ever sees a part of it.
void create(const path &file, std::string_view line)
{
    std::string temporary = file.parent_path() / ".app.log.XXXXXX";
    const FileDescriptor descriptor(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!descriptor) {
        return;
    }
    if (writeAll(descriptor.get(), line) < line.size() ||
        std::rename(temporary.c_str(), file.c_str()) != 0) {
        ::unlink(temporary.c_str());
    }
}

/// Appends @p line to the regular file behind @p descriptor, or nothing.
void appendWhole(const FileDescriptor &descriptor, std::string_view line)
{
    struct stat status = {};
    if (::fstat(descriptor.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return;
    }
    if (writeAll(descriptor.get(), line) < line.size()) {
        // The next line would go on where a full disk has cut this one off.
        static_cast<void>(::ftruncate(descriptor.get(), status.st_size));
    }
}

} // namespace

void LogFile::append(std::string_view line)
{
    const path file = Paths::applicationSupport() / "app.log";
    deleteWhenTooLarge(file);
    // Without O_NONBLOCK, opening a FIFO would wait for its reader.
    constexpr int flags = O_WRONLY | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    const FileDescriptor descriptor(::open(file.c_str(), flags));
    if (descriptor) {
        appendWhole(descriptor, line);
    } else if (errno == ENOENT) {
        create(file, line);
    }
}

} // namespace Tarnwick

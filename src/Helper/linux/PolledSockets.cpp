// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/PolledSockets.h"

#include "Helper/linux/ProcFs.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {

namespace {

/// A process of an event loop makes it among its first descriptors.
constexpr std::size_t maxDescriptors = 64;

/// Whether the text of an epoll instance's fdinfo has a file with @p inode, in a line such as
/// "tfd:        5 events:       19 data:                5  pos:0 ino:1a2b sdev:9". The inode is
/// hexadecimal; the number behind "tfd:" is that of who registered the file.
bool hasInode(std::string_view text, std::uint32_t inode)
{
    constexpr std::string_view key = "tfd:";
    constexpr std::string_view inodeKey = " ino:";
    constexpr int hexadecimal = 16;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        const std::size_t place = line.find(inodeKey);
        if (!line.starts_with(key) || place == std::string_view::npos) {
            continue;
        }
        const std::string_view number = line.substr(place + inodeKey.size());
        std::uint64_t found = 0;
        if (std::from_chars(number.data(), number.data() + number.size(), found, hexadecimal).ec ==
                std::errc{} &&
            found == inode) {
            return true;
        }
    }
    return false;
}

} // namespace

bool PolledSockets::contain(int root, pid_t pid, std::uint32_t inode)
{
    constexpr std::size_t maxInformation = 4UL * 1024 * 1024;
    constexpr std::string_view epoll = "anon_inode:[eventpoll]";
    const FileDescriptor descriptors = ProcFs::openDirectoryOfProcess(root, pid, "/fd");
    const FileDescriptor information = ProcFs::openDirectoryOfProcess(root, pid, "/fdinfo");
    std::vector<ProcFs::NumberedEntry> entries;
    if (!descriptors || !information || !ProcFs::readNumbers(descriptors.get(), entries)) {
        return false;
    }
    std::sort(entries.begin(), entries.end(),
              [](const auto &left, const auto &right) { return left.number < right.number; });
    entries.resize(std::min(entries.size(), maxDescriptors));
    std::string text;
    for (const ProcFs::NumberedEntry &entry : entries) {
        const std::string number = std::to_string(entry.number);
        if (ProcFs::readLink(descriptors.get(), number.c_str(), text) && text == epoll) {
            return ProcFs::readFile(information.get(), number.c_str(), text, maxInformation) &&
                   hasInode(text, inode);
        }
    }
    return false;
}

} // namespace Tarnwick

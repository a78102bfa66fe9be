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

/// The descriptors in the text of an epoll instance's fdinfo, from lines "tfd:  5 events: ...".
std::vector<unsigned> polledDescriptors(std::string_view text)
{
    constexpr std::string_view key = "tfd:";
    std::vector<unsigned> found;
    while (!text.empty()) {
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        if (!line.starts_with(key)) {
            continue;
        }
        line.remove_prefix(key.size());
        line.remove_prefix(std::min(line.size(), line.find_first_not_of(' ')));
        unsigned number = 0;
        if (std::from_chars(line.data(), line.data() + line.size(), number).ec == std::errc{}) {
            found.push_back(number);
        }
    }
    return found;
}

} // namespace

bool PolledSockets::contain(int root, pid_t pid, std::uint32_t inode)
{
    constexpr std::size_t longestInformation = 4UL * 1024 * 1024;
    constexpr std::string_view epoll = "anon_inode:[eventpoll]";
    const FileDescriptor descriptors = ProcFs::openDirectoryOfProcess(root, pid, "/fd");
    const FileDescriptor information = ProcFs::openDirectoryOfProcess(root, pid, "/fdinfo");
    std::vector<ProcFs::NumberedEntry> entries;
    if (!descriptors || !information || !ProcFs::readNumbers(descriptors.get(), entries)) {
        return false;
    }
    std::string text;
    return std::any_of(entries.begin(), entries.end(), [&](const ProcFs::NumberedEntry &entry) {
        const std::string number = std::to_string(entry.number);
        if (!ProcFs::readLink(descriptors.get(), number.c_str(), text) || text != epoll ||
            !ProcFs::readFile(information.get(), number.c_str(), text, longestInformation)) {
            return false;
        }
        const std::vector<unsigned> polled = polledDescriptors(text);
        return std::any_of(polled.begin(), polled.end(), [&](unsigned descriptor) {
            const ProcFs::Descriptor seen = ProcFs::descriptor(descriptors.get(), descriptor);
            return seen.kind == ProcFs::Descriptor::Kind::Socket && seen.inode == inode;
        });
    });
}

} // namespace Tarnwick

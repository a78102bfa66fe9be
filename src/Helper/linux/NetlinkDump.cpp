// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/NetlinkDump.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

namespace Tarnwick {

namespace {

/// The kernel fills messages of a dump up to this size when the reader offers as much.
constexpr std::size_t messageSize = 32UL * 1024;

/// The errno that ended a dump early, 0 when it is whole: both the end of a dump and an error begin
/// with it, negated. EBADMSG when it is none.
int endOfDump(std::string_view payload)
{
    constexpr int maximumErrno = 4095; // MAX_ERRNO of the kernel's include/linux/err.h
    int code = 0;
    if (payload.size() >= sizeof(code)) {
        std::memcpy(&code, payload.data(), sizeof(code));
    }
    return code <= 0 && code >= -maximumErrno ? -code : EBADMSG;
}

} // namespace

void NetlinkDump::parse(std::string_view messages, std::uint32_t sequence, Progress &progress,
                        const Take &take)
{
    const auto end = [&progress](int error) {
        progress.isOver = true;
        progress.error = error;
    };
    while (messages.size() >= sizeof(nlmsghdr)) {
        nlmsghdr header{};
        std::memcpy(&header, messages.data(), sizeof(header));
        if (header.nlmsg_len < sizeof(header) || header.nlmsg_len > messages.size()) {
            return end(EBADMSG);
        }
        const std::string_view payload =
            messages.substr(sizeof(header), header.nlmsg_len - sizeof(header));
        messages.remove_prefix(
            std::min<std::size_t>(messages.size(), NLMSG_ALIGN(header.nlmsg_len)));
        if (header.nlmsg_seq != sequence) {
            continue;
        }
        progress.isInterrupted =
            progress.isInterrupted || (header.nlmsg_flags & NLM_F_DUMP_INTR) != 0;
        if (header.nlmsg_type == NLMSG_DONE) {
            return end(endOfDump(payload));
        }
        if (header.nlmsg_type == NLMSG_ERROR) {
            const int code = endOfDump(payload);
            return end(code != 0 ? code : EBADMSG);
        }
        if (!take(payload)) {
            return end(EBADMSG);
        }
    }
}

void NetlinkDump::parseAttributes(std::string_view attributes, const TakeAttribute &take)
{
    while (attributes.size() >= sizeof(rtattr)) {
        rtattr attribute{};
        std::memcpy(&attribute, attributes.data(), sizeof(attribute));
        if (attribute.rta_len < sizeof(attribute) || attribute.rta_len > attributes.size()) {
            return;
        }
        take(attribute.rta_type,
             attributes.substr(sizeof(attribute), attribute.rta_len - sizeof(attribute)));
        attributes.remove_prefix(
            std::min<std::size_t>(attributes.size(), RTA_ALIGN(attribute.rta_len)));
    }
}

int NetlinkDump::receive(int connection, Progress &progress, const Parse &parse)
{
    thread_local std::vector<char> buffer(messageSize);
    while (!progress.isOver) {
        const ssize_t got = ::recv(connection, buffer.data(), buffer.size(), 0);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return got < 0 ? errno : ECONNRESET;
        }
        parse(std::string_view(buffer.data(), static_cast<std::size_t>(got)), progress);
    }
    return progress.error;
}

} // namespace Tarnwick

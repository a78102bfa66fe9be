// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/PuppetChannel.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <vector>

#include <sys/socket.h>

namespace Tarnwick {

bool sendMessage(int channel, std::string_view text, int descriptor)
{
    iovec words = {.iov_base = const_cast<char *>(text.data()), .iov_len = text.size()};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr message = {};
    message.msg_iov = &words;
    message.msg_iovlen = 1;
    if (descriptor >= 0) {
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        cmsghdr *header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(header), &descriptor, sizeof(descriptor));
    }
    return ::sendmsg(channel, &message, MSG_NOSIGNAL) >= 0;
}

PuppetMessage receiveMessage(int channel)
{
    // A command line of a megabyte goes over it.
    static std::vector<char> buffer(3UL * 1024 * 1024);
    iovec words = {.iov_base = buffer.data(), .iov_len = buffer.size()};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr message = {};
    message.msg_iov = &words;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    ssize_t got = 0;
    do {
        got = ::recvmsg(channel, &message, 0);
    } while (got < 0 && errno == EINTR);

    PuppetMessage received;
    received.ended = got <= 0;
    received.text.assign(buffer.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
    const cmsghdr *header = CMSG_FIRSTHDR(&message);
    if (header != nullptr && header->cmsg_type == SCM_RIGHTS) {
        int descriptor = -1;
        std::memcpy(&descriptor, CMSG_DATA(header), sizeof(descriptor));
        received.descriptor = FileDescriptor(descriptor);
    }
    return received;
}

} // namespace Tarnwick

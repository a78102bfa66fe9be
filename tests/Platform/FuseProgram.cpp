// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Platform/FuseProgram.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <linux/fuse.h>
#include <poll.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

constexpr std::uint64_t programNode = 2;

fuse_attr attributes(std::uint64_t node, std::size_t programSize)
{
    fuse_attr attr = {};
    attr.ino = node;
    attr.nlink = 1;
    attr.mode = node == FUSE_ROOT_ID ? S_IFDIR | 0755 : S_IFREG | 0755;
    attr.size = node == FUSE_ROOT_ID ? 0 : programSize;
    return attr;
}

} // namespace

FuseProgram::FuseProgram(const std::filesystem::path &program, std::string name)
    : m_name(std::move(name))
    , m_device(::open("/dev/fuse", O_RDWR | O_CLOEXEC | O_NONBLOCK))
{
    std::ifstream file(program, std::ios::binary);
    m_content.assign(std::istreambuf_iterator<char>(file), {});
    const std::string options =
        "fd=" + std::to_string(m_device.get()) + ",rootmode=40000,user_id=0,group_id=0,allow_other";
    m_isMounted = m_device && ::mount("tarnwick-test", m_folder.path().c_str(), "fuse",
                                      MS_NOSUID | MS_NODEV, options.c_str()) == 0;
    if (m_isMounted) {
        m_server = std::thread([this] { serve(); });
    }
}

FuseProgram::~FuseProgram()
{
    if (m_isMounted) {
        m_isPaused = false;
        ::umount2(m_folder.path().c_str(), MNT_DETACH);
        m_isOver = true;
        m_server.join();
    }
}

void FuseProgram::serve()
{
    std::vector<char> buffer(FUSE_MIN_READ_BUFFER + 65536);
    while (!m_isOver) {
        pollfd waiting = {.fd = m_device.get(), .events = POLLIN, .revents = 0};
        ::poll(&waiting, 1, 5);
        if (m_isPaused) {
            ::poll(nullptr, 0, 5);
            continue;
        }
        const ssize_t size = ::read(m_device.get(), buffer.data(), buffer.size());
        if (size >= static_cast<ssize_t>(sizeof(fuse_in_header))) {
            const auto *request = reinterpret_cast<const fuse_in_header *>(buffer.data());
            answer(*request, buffer.data() + sizeof(fuse_in_header));
        } else if (size < 0 && errno == ENODEV) {
            return; // unmounted
        }
    }
}

void FuseProgram::answer(const fuse_in_header &request, const char *body)
{
    switch (request.opcode) {
    case FUSE_INIT: {
        fuse_init_out init = {};
        init.major = FUSE_KERNEL_VERSION;
        init.minor = FUSE_KERNEL_MINOR_VERSION;
        init.max_write = 65536;
        reply(request, 0, &init, sizeof(init));
        break;
    }
    case FUSE_LOOKUP: {
        fuse_entry_out entry = {};
        entry.nodeid = programNode;
        entry.attr = attributes(programNode, m_content.size());
        const bool isProgram = m_name == body;
        reply(request, isProgram ? 0 : -ENOENT, &entry, isProgram ? sizeof(entry) : 0);
        break;
    }
    case FUSE_GETATTR: {
        fuse_attr_out out = {};
        out.attr = attributes(request.nodeid, m_content.size());
        reply(request, 0, &out, sizeof(out));
        break;
    }
    case FUSE_OPEN: {
        const fuse_open_out out = {};
        reply(request, 0, &out, sizeof(out));
        break;
    }
    case FUSE_READ: {
        const auto &wanted = *reinterpret_cast<const fuse_read_in *>(body);
        const std::size_t from = std::min<std::size_t>(wanted.offset, m_content.size());
        reply(request, 0, m_content.data() + from,
              std::min<std::size_t>(wanted.size, m_content.size() - from));
        break;
    }
    case FUSE_FORGET:
    case FUSE_BATCH_FORGET:
    case FUSE_INTERRUPT:
        break; // without a reply
    case FUSE_RELEASE:
        reply(request, 0, nullptr, 0);
        break;
    default:
        reply(request, -ENOSYS, nullptr, 0);
    }
}

void FuseProgram::reply(const fuse_in_header &request, int error, const void *data,
                        std::size_t size) const
{
    fuse_out_header header = {};
    header.len = static_cast<std::uint32_t>(sizeof(header) + size);
    header.error = error;
    header.unique = request.unique;
    std::array<iovec, 2> parts{{{&header, sizeof(header)}, {const_cast<void *>(data), size}}};
    static_cast<void>(::writev(m_device.get(), parts.data(), static_cast<int>(parts.size())));
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Helper/StuckMessage.h"

#include "Helper/linux/ProcFs.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <string>
#include <vector>

#include <poll.h>
#include <sys/stat.h>

namespace Tarnwick {

namespace {

BusHandle connectTo(const PrivateBus &bus)
{
    sd_bus *raw = nullptr;
    const bool made = sd_bus_new(&raw) >= 0;
    BusHandle connection(raw);
    const char *name = nullptr;
    if (!made || sd_bus_set_address(raw, bus.address().c_str()) < 0 ||
        sd_bus_set_bus_client(raw, 1) < 0 || sd_bus_negotiate_fds(raw, 1) < 0 ||
        sd_bus_start(raw) < 0 || sd_bus_get_unique_name(raw, &name) < 0) {
        throw std::runtime_error("no connection to the bus to be had");
    }
    return connection;
}

BusMessage messageTo(sd_bus *sender, sd_bus *receiver)
{
    const char *name = nullptr;
    sd_bus_message *message = nullptr;
    if (sd_bus_get_unique_name(receiver, &name) < 0 ||
        sd_bus_message_new_method_call(sender, &message, name, "/", "org.example.Sink", "Take") <
            0) {
        throw std::runtime_error("no message to be had");
    }
    sd_bus_message_set_expect_reply(message, 0);
    return take(message);
}

bool hasSocket(pid_t pid, std::uint32_t inode)
{
    const FileDescriptor root = ProcFs::openRoot();
    const FileDescriptor descriptors = ProcFs::openDirectoryOfProcess(root.get(), pid, "/fd");
    std::vector<ProcFs::NumberedEntry> entries;
    ProcFs::readNumbers(descriptors.get(), entries);
    return std::any_of(entries.begin(), entries.end(), [&](const ProcFs::NumberedEntry &entry) {
        return ProcFs::descriptor(descriptors.get(), entry.number).inode == inode;
    });
}

} // namespace

StuckMessage::StuckMessage(const PrivateBus &bus, FileDescriptor descriptor)
    : m_sender(connectTo(bus))
    , m_receiver(connectTo(bus))
{
    struct stat status = {};
    ::fstat(descriptor.get(), &status);
    // More than the receiver's socket takes, so that what follows stays with the bus.
    const std::vector<char> filling(256UL * 1024);
    constexpr int messages = 16;
    for (int count = 0; count < messages; ++count) {
        const BusMessage message = messageTo(m_sender.get(), m_receiver.get());
        sd_bus_message_append_array(message.get(), 'y', filling.data(), filling.size());
        sd_bus_send(m_sender.get(), message.get(), nullptr);
    }
    {
        const BusMessage message = messageTo(m_sender.get(), m_receiver.get());
        sd_bus_message_append(message.get(), "h", descriptor.get());
        sd_bus_send(m_sender.get(), message.get(), nullptr);
    }
    descriptor.reset();
    sd_bus_flush(m_sender.get());
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!hasSocket(bus.pid(), static_cast<std::uint32_t>(status.st_ino))) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("the bus does not keep the descriptor");
        }
        ::poll(nullptr, 0, 1);
    }
}

} // namespace Tarnwick

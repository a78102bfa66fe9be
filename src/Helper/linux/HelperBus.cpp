// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/HelperBus.h"

#include "Helper/linux/CallFromC.h"
#include "Helper/linux/FailureReport.h"
#include "Helper/linux/SessionBus.h"
#include "Shared/HelperProtocol.h"
#include "Shared/Version.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

#include <malloc.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

const std::string serviceName(HelperProtocol::serviceName);
const std::string versionText(version);

// Of the D-Bus specification, "org.freedesktop.DBus.RequestName".
constexpr std::uint32_t nameFlagAllowReplacement = 1;
constexpr std::uint32_t nameFlagReplaceExisting = 2;
constexpr std::uint32_t nameFlagDoNotQueue = 4;
constexpr int nameReplyExists = 3;

/// The interface as sd-bus checks it: a request with other arguments never reaches the channel.
const std::array<sd_bus_vtable, 5> operations{{
    SD_BUS_VTABLE_START(0),
    SD_BUS_PROPERTY("Version", "s", &HelperBus::onGetVersion, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_METHOD_WITH_ARGS("ListListeningPorts", SD_BUS_NO_ARGS, SD_BUS_RESULT("ay", listeners),
                            &HelperBus::onListListeningPorts, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("KillProcess", SD_BUS_ARGS("i", pid), SD_BUS_RESULT("i", result),
                            &HelperBus::onKillProcess, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
}};

std::string failure(const char *what, int result)
{
    return std::string(what) + ": " + std::strerror(-result);
}

int onReply(sd_bus_message * /*reply*/, void *isThere, sd_bus_error * /*error*/)
{
    *static_cast<bool *>(isThere) = true;
    return 0;
}

/// Has the bus write to a closed connection. It does not poll one that it reads no more, and so
/// does not see that it was closed until it writes to it. Waits for two seconds at most.
void writeTo(const std::string &closed)
{
    constexpr std::chrono::seconds timeout{2};
    std::variant<BusHandle, int> opened = openSessionBus();
    auto *bus = std::get_if<BusHandle>(&opened);
    if (bus == nullptr) {
        return;
    }
    bool isThere = false;
    int result =
        sd_bus_call_method_async(bus->get(), nullptr, closed.c_str(), "/",
                                 "org.freedesktop.DBus.Peer", "Ping", &onReply, &isThere, nullptr);
    const auto deadline = EventLoop::Clock::now() + timeout;
    while (result >= 0 && !isThere && EventLoop::Clock::now() < deadline) {
        result = sd_bus_process(bus->get(), nullptr);
        if (result == 0) {
            const std::chrono::microseconds nap = std::chrono::milliseconds(100);
            result = sd_bus_wait(bus->get(), static_cast<std::uint64_t>(nap.count()));
        }
    }
    sd_bus_close(bus->get());
}

} // namespace

HelperBus::Opened HelperBus::open(SystemdEventLoop &loop, HelperService &service,
                                  EventLoop::Clock::duration patience, Claim claim)
{
    std::variant<BusHandle, int> opened = openSessionBus();
    if (const int *failed = std::get_if<int>(&opened)) {
        return failure("cannot reach the session bus", -*failed);
    }
    BusHandle bus = std::get<BusHandle>(std::move(opened));
    if (const int failed = sd_bus_attach_event(bus.get(), loop.event(), SD_EVENT_PRIORITY_NORMAL);
        failed < 0) {
        return failure("cannot listen to the session bus", failed);
    }
    auto channel = std::make_unique<HelperBus>(std::move(bus), loop, service, patience);
    if (std::string failed = channel->claimName(claim); !failed.empty()) {
        return failed;
    }
    return channel;
}

HelperBus::HelperBus(BusHandle bus, SystemdEventLoop &loop, HelperService &service,
                     EventLoop::Clock::duration patience)
    : m_bus(std::move(bus))
    , m_loop(loop)
    , m_service(service)
    , m_patience(patience)
    , m_daemon(m_bus.get())
    , m_clients(m_bus.get(), m_daemon, [this] { clientsChanged(); })
    , m_replies(loop, m_clients)
    , m_payloads(m_bus.get(), loop, m_clients, m_replies)
    , m_output(m_bus.get(), loop, [this] { leaveStoppedBus(); })
{
    sd_bus_slot *slot = nullptr;
    sd_bus_add_filter(m_bus.get(), &slot, &HelperBus::onMessage, this);
    m_filter.reset(slot);
    // sd-bus closes the connection when it has no memory, or no buffer takes the rest of a message
    // of which a part is sent. The bus answers what was asked then, and starts another helper.
    m_disconnect = m_loop.afterEachRound([this] {
        if (sd_bus_is_open(m_bus.get()) <= 0) {
            leaveWithFailure("the connection to the session bus has ended");
        }
    });
    clientsChanged();
}

int HelperBus::onMessage(sd_bus_message *message, void *channel, sd_bus_error * /*error*/)
{
    auto &self = *static_cast<HelperBus *>(channel);
    return callFromC(self.m_loop.event(), [&self, message] { self.receiveMessage(message); });
}

void HelperBus::receiveMessage(sd_bus_message *message)
{
    const char *name = nullptr;
    if (sd_bus_message_is_signal(message, BusDaemonCalls::service, "NameLost") > 0 &&
        BusDaemonCalls::isFromDaemon(message) && sd_bus_message_read(message, "s", &name) > 0 &&
        name == serviceName) {
        nameLost();
        return;
    }
    // Also who asks for what we do not offer is somebody to stay for.
    const char *sender = sd_bus_message_get_sender(message);
    if (sd_bus_message_is_method_call(message, nullptr, nullptr) > 0 && sender != nullptr) {
        m_clients.meet(sender);
    }
}

std::string HelperBus::claimName(Claim claim)
{
    const std::string path(HelperProtocol::objectPath);
    const std::string interface(HelperProtocol::interfaceName);
    sd_bus_slot *slot = nullptr;
    if (const int failed = sd_bus_add_object_vtable(m_bus.get(), &slot, path.c_str(),
                                                    interface.c_str(), operations.data(), this);
        failed < 0) {
        return failure("cannot offer the interface", failed);
    }
    m_interface.reset(slot);
    const std::uint32_t flags = nameFlagDoNotQueue | nameFlagAllowReplacement |
                                (claim == Claim::Replace ? nameFlagReplaceExisting : 0);
    const int claimed = m_daemon.requestName(serviceName, flags);
    if (claimed == nameReplyExists) {
        return serviceName + " is taken by another process" + nameOwner();
    }
    return claimed < 0 ? failure("cannot get the name on the session bus", claimed) : std::string();
}

/// ": PID (EXECUTABLE)" of the process that has the name, as far as that is known. A byte that is
/// no printable character of ASCII is a question mark.
std::string HelperBus::nameOwner()
{
    const std::optional<pid_t> process = m_daemon.processOf(serviceName);
    if (!process) {
        return {};
    }
    std::string text = ": " + std::to_string(*process);
    std::error_code hidden;
    const auto executable =
        std::filesystem::read_symlink("/proc/" + std::to_string(*process) + "/exe", hidden);
    if (!hidden) {
        text += " (" + executable.native() + ')';
    }
    std::replace_if(
        text.begin(), text.end(), [](char byte) { return byte < ' ' || byte > '~'; }, '?');
    return text;
}

int HelperBus::onListListeningPorts(sd_bus_message *request, void *channel,
                                    sd_bus_error * /*error*/)
{
    return static_cast<HelperBus *>(channel)->receiveFromC(request, &HelperBus::list);
}

int HelperBus::onKillProcess(sd_bus_message *request, void *channel, sd_bus_error * /*error*/)
{
    return static_cast<HelperBus *>(channel)->receiveFromC(request, &HelperBus::kill);
}

int HelperBus::receiveFromC(sd_bus_message *request, Operation operation)
{
    // Also a request that could not be received has no other handler.
    const int failed = callFromC(m_loop.event(), [&] { receive(request, operation); });
    return failed < 0 ? failed : 1;
}

int HelperBus::onGetVersion(sd_bus * /*bus*/, const char * /*path*/, const char * /*interface*/,
                            const char * /*property*/, sd_bus_message *reply, void *channel,
                            sd_bus_error * /*error*/)
{
    const int appended = sd_bus_message_append(reply, "s", versionText.c_str());
    if (appended < 0) {
        // sd-bus would try once to answer with an error.
        static_cast<HelperBus *>(channel)->leaveWithFailure("no memory left for an answer");
    }
    return appended;
}

void HelperBus::receive(sd_bus_message *request, Operation operation)
{
    if (!m_clients.admit(request)) {
        tidyUpLater();
        m_replies.refuse(hold(request), std::to_string(BusClients::mostUnanswered) +
                                            " of your requests wait for their answers");
        return;
    }
    m_clients.identify(sd_bus_message_get_sender(request),
                       [this, request = hold(request),
                        operation](const BusClients::Identification &identification) {
                           serve(request, operation, identification);
                       });
}

void HelperBus::serve(const BusMessage &request, Operation operation,
                      const BusClients::Identification &identification)
{
    const auto *unidentified = std::get_if<BusClients::Unidentified>(&identification);
    if (unidentified != nullptr && unidentified->error != 0) {
        m_replies.answerWithError(request, unidentified->error, "cannot ask the bus who asks");
        return;
    }
    const auto *identity = std::get_if<BusClients::Identity>(&identification);
    if (identity == nullptr || identity->user != ::geteuid()) {
        m_replies.deny(request, "only user " + std::to_string(::geteuid()) + " may ask");
        return;
    }
    try {
        (this->*operation)(request, *identity);
    } catch (const std::bad_alloc &) {
        m_replies.answerWithError(request, ENOMEM, "no memory left");
    }
}

void HelperBus::list(const BusMessage &request, const BusClients::Identity & /*client*/)
{
    m_service.listListeningPorts([this, request](const HelperService::ListAnswer &answer) {
        m_payloads.answer(request, answer);
    });
}

void HelperBus::kill(const BusMessage &request, const BusClients::Identity &client)
{
    std::int32_t pid = 0;
    static_cast<void>(sd_bus_message_read(request.get(), "i", &pid));
    m_service.killProcess(
        {.pid = pid,
         .shown = m_clients.shown(sd_bus_message_get_sender(request.get())),
         .caller = client.process},
        [this, request](const KillAnswer &answer) { m_replies.answer(request, answer); });
}

void HelperBus::clientsChanged()
{
    tidyUpLater();
    if (m_clients.isEmpty()) {
        const auto patience = m_hasLostName ? EventLoop::Clock::duration::zero() : m_patience;
        m_alone = m_loop.at(EventLoop::Clock::now() + patience, [this] { giveNameUp(); });
    } else {
        m_alone.reset();
    }
}

void HelperBus::nameLost()
{
    if (!m_leaving && !m_hasLostName) {
        m_hasLostName = true;
        clientsChanged();
    }
}

bool HelperBus::isDone() const
{
    // A kill goes on though the one who asked for it has left.
    return m_clients.allAnswered() && m_service.isIdle();
}

void HelperBus::tidyUpLater()
{
    if (m_tidying) {
        return;
    }
    // The allocator would keep what a crowd of requests took for as long as the helper lives.
    m_tidying = m_loop.whenIdle([this] {
        m_tidying.reset();
        ::malloc_trim(0);
    });
}

void HelperBus::giveNameUp()
{
    // From now on the bus starts another helper for new requests; earlier ones are answered. No
    // reply is awaited: the bus has done this when it answers the call that comes next.
    if (!m_hasLostName && m_daemon.send("ReleaseName", serviceName) != 0) {
        clientsChanged();
        return;
    }
    m_leaving = m_loop.afterEachRound([this] { leaveWhenDone(); });
}

void HelperBus::leaveWhenDone()
{
    std::uint64_t unread = 0;
    std::uint64_t unsent = 0;
    static_cast<void>(sd_bus_get_n_queued_read(m_bus.get(), &unread));
    static_cast<void>(sd_bus_get_n_queued_write(m_bus.get(), &unsent));
    if (unread == 0 && unsent == 0 && isDone() && m_lastWord == 0) {
        // What the bus sent before its answer to this has been read when that comes.
        const BusDaemonCalls::Sent sent =
            m_daemon.call("GetId", [this](sd_bus_message *) { onLastWord(); });
        m_lastWord = sent.id;
        if (sent.error != 0) {
            m_leaveRetry = m_loop.at(EventLoop::Clock::now() + ReplyQueue::retryDelay,
                                     [this] { leaveWhenDone(); });
        }
        m_output.update();
    }
}

void HelperBus::leaveWithFailure(const char *why)
{
    reportFailure(why);
    m_loop.leave(EXIT_FAILURE);
}

void HelperBus::leaveStoppedBus()
{
    // The bus counts what another connection sends anew, and answers what was asked on this one
    // with an error. Closed first, since the end of the loop would wait until all is sent.
    const char *name = nullptr;
    static_cast<void>(sd_bus_get_unique_name(m_bus.get(), &name));
    const std::string closed = name != nullptr ? name : "";
    sd_bus_close(m_bus.get());
    writeTo(closed);
    leaveWithFailure("the session bus takes no messages");
}

void HelperBus::onLastWord()
{
    m_lastWord = 0;
    if (isDone()) {
        m_loop.leave(0);
    }
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/BusClients.h"

#include "Helper/linux/CallFromC.h"

#include <algorithm>
#include <cerrno>
#include <unordered_set>
#include <utility>
#include <vector>

namespace Tarnwick {

namespace {

/// The signal by which the bus tells that @p name, a unique name, has left.
std::string matchRule(const std::string &name)
{
    return std::string("type='signal',sender='") + BusDaemonCalls::service + "',path='" +
           BusDaemonCalls::path + "',interface='" + BusDaemonCalls::service +
           "',member='NameOwnerChanged',arg0='" + name + "'";
}

/// Reads a value of type u where the variant that comes next holds one, and else skips it; 1 when
/// @p number was read, 0 when not, and a negative errno on failure.
int readNumber(sd_bus_message *message, std::optional<std::uint32_t> &number)
{
    const int matches = sd_bus_message_verify_type(message, SD_BUS_TYPE_VARIANT, "u");
    if (matches <= 0) {
        return matches < 0 ? matches : std::min(sd_bus_message_skip(message, "v"), 0);
    }
    std::uint32_t value = 0;
    const int read = sd_bus_message_read(message, "v", "u", &value);
    if (read > 0) {
        number = value;
    }
    return read;
}

struct Credentials
{
    std::optional<std::uint32_t> user;
    std::optional<std::uint32_t> process;
};

/// Reads an entry of the reply to GetConnectionCredentials; 1 when there was one, 0 at the end, and
/// a negative errno on failure.
int readEntry(sd_bus_message *reply, Credentials &credentials)
{
    const int entered = sd_bus_message_enter_container(reply, SD_BUS_TYPE_DICT_ENTRY, "sv");
    if (entered <= 0) {
        return entered;
    }
    const char *key = nullptr;
    if (const int read = sd_bus_message_read(reply, "s", &key); read <= 0) {
        return read < 0 ? read : -EBADMSG;
    }
    const std::string_view name(key);
    int read = 0;
    if (name == "UnixUserID") {
        read = readNumber(reply, credentials.user);
    } else if (name == "ProcessID") {
        read = readNumber(reply, credentials.process);
    } else {
        read = sd_bus_message_skip(reply, "v");
    }
    return read < 0 ? read : sd_bus_message_exit_container(reply);
}

/// Why an error of the bus leaves a client unidentified.
BusClients::Unidentified unidentifiedBy(sd_bus_message *error)
{
    const bool isShort = sd_bus_message_is_method_error(error, SD_BUS_ERROR_NO_MEMORY) > 0;
    return {.error = isShort ? ENOMEM : 0};
}

/// The reply to GetConnectionCredentials.
BusClients::Identification readCredentials(sd_bus_message *reply)
{
    if (sd_bus_message_is_method_error(reply, nullptr) != 0) {
        return unidentifiedBy(reply);
    }
    Credentials credentials;
    int read = sd_bus_message_enter_container(reply, SD_BUS_TYPE_ARRAY, "{sv}");
    while (read > 0) {
        read = readEntry(reply, credentials);
    }
    if (read < 0) {
        return BusClients::Unidentified{.error = -read};
    }
    if (!credentials.user) {
        return BusClients::Unidentified{};
    }
    BusClients::Identity identity{.user = *credentials.user, .process = std::nullopt};
    if (credentials.process) {
        identity.process = static_cast<std::int32_t>(*credentials.process);
    }
    return identity;
}

} // namespace

struct BusClients::Client
{
    BusClients &clients;
    std::string name;
    std::string rule; ///< made once: nothing fails when the client is removed
    BusDaemonCalls::Sent watched{};
    BusDaemonCalls::Sent credentials{};
    std::optional<Identification> identification{};
    std::vector<Known> waiting{}; ///< for the identity
    std::size_t unanswered = 0;
    SharedProcessReport shown{};
    std::uint64_t shownAt = 0; ///< which of all shows it was

    Client(BusClients &all, std::string uniqueName)
        : clients(all)
        , name(std::move(uniqueName))
        , rule(matchRule(name))
    {
    }
    ~Client()
    {
        BusDaemonCalls &daemon = clients.m_daemon;
        daemon.forget(watched.id);
        daemon.forget(credentials.id);
        static_cast<void>(daemon.send("RemoveMatch", rule));
    }
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;
};

BusClients::BusClients(sd_bus *bus, BusDaemonCalls &daemon, std::function<void()> changed)
    : m_daemon(daemon)
    , m_changed(std::move(changed))
{
    sd_bus_slot *slot = nullptr;
    sd_bus_add_filter(bus, &slot, &BusClients::onMessage, this);
    m_filter.reset(slot);
}

BusClients::~BusClients() = default;

void BusClients::identify(const std::string &name, Known known)
{
    Client &asking = client(name);
    if (asking.identification) {
        // A copy: the callback may answer the last request of a client, which removes it.
        const Identification identification = *asking.identification;
        known(identification);
    } else {
        asking.waiting.push_back(std::move(known));
    }
}

void BusClients::meet(const std::string &name)
{
    static_cast<void>(client(name));
    removeIfUnidentified(name);
}

bool BusClients::contains(const std::string &name) const
{
    return m_clients.contains(name);
}

bool BusClients::admit(sd_bus_message *request)
{
    Client &asking = client(sd_bus_message_get_sender(request));
    if (asking.unanswered >= mostUnanswered) {
        return false;
    }
    ++asking.unanswered;
    return true;
}

void BusClients::answered(sd_bus_message *request)
{
    const std::string name = sd_bus_message_get_sender(request);
    if (const auto place = m_clients.find(name); place != m_clients.end()) {
        --place->second->unanswered;
        removeIfUnidentified(name);
    }
}

bool BusClients::allAnswered() const
{
    return std::all_of(m_clients.begin(), m_clients.end(),
                       [](const auto &place) { return place.second->unanswered == 0; });
}

void BusClients::show(const std::string &name, SharedProcessReport report)
{
    const auto place = m_clients.find(name);
    if (place == m_clients.end()) {
        return;
    }
    setShown(*place->second, std::move(report));
    place->second->shownAt = ++m_shows;
    if (m_shown > mostShown) {
        limitShown();
    }
}

void BusClients::setShown(Client &client, SharedProcessReport report)
{
    m_shown -= client.shown ? client.shown->processes().size() : 0;
    m_shown += report ? report->processes().size() : 0;
    client.shown = std::move(report);
}

SharedProcessReport BusClients::shown(const std::string &name) const
{
    const auto place = m_clients.find(name);
    return place == m_clients.end() ? nullptr : place->second->shown;
}

void BusClients::limitShown()
{
    std::map<std::uint64_t, Client *> byTime;
    for (const auto &[name, client] : m_clients) {
        if (client->shown) {
            byTime.emplace(client->shownAt, client.get());
        }
    }
    std::unordered_set<const ProcessReport *> counted;
    std::size_t processes = 0;
    for (auto place = byTime.rbegin(); place != byTime.rend(); ++place) {
        const SharedProcessReport &shown = place->second->shown;
        if (counted.insert(shown.get()).second) {
            processes += shown->processes().size();
        }
        if (processes > mostShown) {
            // Not none: what somebody else was shown is not what this client means.
            setShown(*place->second, std::make_shared<const ProcessReport>());
        }
    }
}

BusClients::Client &BusClients::client(const std::string &name)
{
    if (const auto place = m_clients.find(name); place != m_clients.end()) {
        return *place->second;
    }
    auto made = std::make_unique<Client>(*this, name);
    Client &added = *made;
    m_clients.emplace(name, std::move(made));
    watch(added);
    m_changed();
    return added;
}

void BusClients::watch(Client &client)
{
    // The match first: a client that leaves before it is in place is unknown to the second call.
    // The bus watches only so many names for one process; the others are turned away.
    client.watched = m_daemon.call("AddMatch", client.rule, [this, &client](sd_bus_message *reply) {
        if (sd_bus_message_is_method_error(reply, nullptr) != 0) {
            settle(client, unidentifiedBy(reply));
        }
    });
    if (client.watched.error == 0) {
        client.credentials = m_daemon.call(
            "GetConnectionCredentials", client.name,
            [this, &client](sd_bus_message *reply) { settle(client, readCredentials(reply)); });
    }
    const int failed = client.watched.error != 0 ? client.watched.error : client.credentials.error;
    if (failed != 0) {
        client.identification = Unidentified{.error = failed};
    }
}

void BusClients::remove(const Client &client)
{
    const auto place = m_clients.find(client.name);
    const std::unique_ptr<Client> leaving = std::move(place->second);
    setShown(*leaving, nullptr);
    m_clients.erase(place);
    m_changed();
}

void BusClients::settle(Client &client, Identification identification)
{
    if (client.identification) {
        return;
    }
    client.identification = identification;
    // The callback that answers the last request of an unidentified client removes it.
    const std::string name = client.name;
    const std::vector<Known> waiting = std::exchange(client.waiting, {});
    for (const Known &known : waiting) {
        known(identification);
    }
    removeIfUnidentified(name);
}

/// The next request of a client of which nobody knows who it is asks the bus again. As long as it
/// has requests it stays, so that they are answered.
void BusClients::removeIfUnidentified(const std::string &name)
{
    const auto place = m_clients.find(name);
    if (place == m_clients.end()) {
        return;
    }
    const Client &client = *place->second;
    if (client.unanswered == 0 && client.identification &&
        std::holds_alternative<Unidentified>(*client.identification)) {
        remove(client);
    }
}

int BusClients::onMessage(sd_bus_message *message, void *clients, sd_bus_error * /*error*/)
{
    if (sd_bus_message_is_signal(message, BusDaemonCalls::service, "NameOwnerChanged") > 0 &&
        BusDaemonCalls::isFromDaemon(message)) {
        auto &self = *static_cast<BusClients *>(clients);
        return callFromC(message, [&self, message] { self.ownerChanged(message); });
    }
    return 0;
}

void BusClients::ownerChanged(sd_bus_message *signal)
{
    const char *name = nullptr;
    const char *before = nullptr;
    const char *now = nullptr;
    if (sd_bus_message_read(signal, "sss", &name, &before, &now) <= 0 || *now != '\0') {
        return;
    }
    if (const auto place = m_clients.find(name); place != m_clients.end()) {
        remove(*place->second);
    }
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/BusClients.h"

#include "Helper/linux/CallFromC.h"

#include <algorithm>
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

/// Reads a value of type u where the variant that comes next holds one, and else skips it.
std::optional<std::uint32_t> readNumber(sd_bus_message *message)
{
    std::uint32_t number = 0;
    if (sd_bus_message_verify_type(message, SD_BUS_TYPE_VARIANT, "u") <= 0) {
        sd_bus_message_skip(message, "v");
        return std::nullopt;
    }
    return sd_bus_message_read(message, "v", "u", &number) > 0 ? std::optional(number)
                                                               : std::nullopt;
}

/// The answer of GetConnectionCredentials; nothing when it names no user.
std::optional<BusClients::Identity> readCredentials(sd_bus_message *reply)
{
    std::optional<std::uint32_t> user;
    std::optional<std::uint32_t> process;
    if (sd_bus_message_is_method_error(reply, nullptr) != 0 ||
        sd_bus_message_enter_container(reply, SD_BUS_TYPE_ARRAY, "{sv}") <= 0) {
        return std::nullopt;
    }
    while (sd_bus_message_enter_container(reply, SD_BUS_TYPE_DICT_ENTRY, "sv") > 0) {
        const char *key = nullptr;
        if (sd_bus_message_read(reply, "s", &key) <= 0) {
            return std::nullopt;
        }
        const std::string_view name(key);
        if (name == "UnixUserID") {
            user = readNumber(reply);
        } else if (name == "ProcessID") {
            process = readNumber(reply);
        } else {
            sd_bus_message_skip(reply, "v");
        }
        sd_bus_message_exit_container(reply);
    }
    if (!user) {
        return std::nullopt;
    }
    BusClients::Identity identity{.user = *user, .process = std::nullopt};
    if (process) {
        identity.process = static_cast<std::int32_t>(*process);
    }
    return identity;
}

} // namespace

struct BusClients::Client
{
    BusClients &clients;
    std::string name;
    BusDaemonCalls::Id watched = 0;
    BusDaemonCalls::Id credentials = 0;
    std::optional<Identity> identity{};
    std::vector<Known> waiting{}; ///< for the identity
    std::size_t unanswered = 0;
    SharedProcessReport shown{};
    std::uint64_t shownAt = 0; ///< which of all shows it was

    Client(BusClients &all, std::string uniqueName)
        : clients(all)
        , name(std::move(uniqueName))
    {
    }
    ~Client()
    {
        BusDaemonCalls &daemon = clients.m_daemon;
        daemon.forget(watched);
        daemon.forget(credentials);
        daemon.send("RemoveMatch", matchRule(name));
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
    if (asking.identity) {
        known(asking.identity);
    } else {
        asking.waiting.push_back(std::move(known));
    }
}

void BusClients::meet(const std::string &name)
{
    static_cast<void>(client(name));
}

bool BusClients::contains(const std::string &name) const
{
    return m_clients.contains(name);
}

bool BusClients::admit(const std::string &name)
{
    Client &asking = client(name);
    if (asking.unanswered >= mostUnanswered) {
        return false;
    }
    ++asking.unanswered;
    return true;
}

void BusClients::answered(const std::string &name)
{
    if (const auto place = m_clients.find(name); place != m_clients.end()) {
        --place->second->unanswered;
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
    client.watched =
        m_daemon.call("AddMatch", matchRule(client.name), [this, &client](sd_bus_message *reply) {
            if (sd_bus_message_is_method_error(reply, nullptr) != 0) {
                settle(client, std::nullopt);
            }
        });
    client.credentials = m_daemon.call(
        "GetConnectionCredentials", client.name,
        [this, &client](sd_bus_message *reply) { settle(client, readCredentials(reply)); });
}

void BusClients::remove(const Client &client)
{
    const auto place = m_clients.find(client.name);
    const std::unique_ptr<Client> leaving = std::move(place->second);
    setShown(*leaving, nullptr);
    m_clients.erase(place);
    m_changed();
}

void BusClients::settle(Client &client, std::optional<Identity> identity)
{
    client.identity = identity;
    for (const Known &tell : std::exchange(client.waiting, {})) {
        tell(identity);
    }
    if (!identity) {
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

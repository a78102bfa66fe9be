// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/BusClients.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace Tarnwick {

namespace {

constexpr const char *busService = "org.freedesktop.DBus";
constexpr const char *busPath = "/org/freedesktop/DBus";

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
    BusSlot leaving;
    BusSlot credentials;
    std::optional<Identity> identity;
    std::vector<Known> waiting; ///< for the identity
    std::size_t unanswered = 0;
};

BusClients::BusClients(sd_bus *bus, std::function<void()> changed)
    : m_bus(bus)
    , m_changed(std::move(changed))
{
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

BusClients::Client &BusClients::client(const std::string &name)
{
    if (const auto place = m_clients.find(name); place != m_clients.end()) {
        return *place->second;
    }
    auto made =
        std::make_unique<Client>(Client{*this, name, nullptr, nullptr, std::nullopt, {}, 0});
    Client &added = *made;
    m_clients.emplace(name, std::move(made));
    watch(added);
    m_changed();
    return added;
}

void BusClients::watch(Client &client)
{
    // The match first: a client that leaves before it is in place is unknown to the second call.
    const std::string rule = std::string("type='signal',sender='") + busService + "',path='" +
                             busPath + "',interface='" + busService +
                             "',member='NameOwnerChanged',arg0='" + client.name + "'";
    sd_bus_slot *leaving = nullptr;
    sd_bus_add_match_async(m_bus, &leaving, rule.c_str(), &onOwnerChanged, &onWatched, &client);
    client.leaving.reset(leaving);
    sd_bus_slot *credentials = nullptr;
    sd_bus_call_method_async(m_bus, &credentials, busService, busPath, busService,
                             "GetConnectionCredentials", &onCredentials, &client, "s",
                             client.name.c_str());
    client.credentials.reset(credentials);
}

void BusClients::remove(const Client &client)
{
    const auto place = m_clients.find(client.name);
    const std::unique_ptr<Client> leaving = std::move(place->second);
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

int BusClients::onCredentials(sd_bus_message *reply, void *client, sd_bus_error * /*error*/)
{
    auto &asked = *static_cast<Client *>(client);
    asked.clients.settle(asked, readCredentials(reply));
    return 0;
}

int BusClients::onWatched(sd_bus_message *reply, void *client, sd_bus_error * /*error*/)
{
    // The bus watches only so many names for one process; the others are turned away.
    if (sd_bus_message_is_method_error(reply, nullptr) != 0) {
        auto &unwatched = *static_cast<Client *>(client);
        unwatched.clients.settle(unwatched, std::nullopt);
    }
    return 0;
}

int BusClients::onOwnerChanged(sd_bus_message *signal, void *client, sd_bus_error * /*error*/)
{
    const char *name = nullptr;
    const char *before = nullptr;
    const char *now = nullptr;
    const auto &known = *static_cast<Client *>(client);
    if (sd_bus_message_read(signal, "sss", &name, &before, &now) > 0 && *now == '\0') {
        known.clients.remove(known);
    }
    return 0;
}

} // namespace Tarnwick

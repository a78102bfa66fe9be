// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/ListingReader.h"

#include "CommandLine/JsonListing.h"
#include "tests/CommandLine/CommandFixture.h"

#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

#include <arpa/inet.h>

namespace Tarnwick {
namespace {

std::string written(const std::vector<Listener> &listeners)
{
    WrittenText text;
    EXPECT_FALSE(JsonListing::write(listeners, text));
    return text.written;
}

/// A listener with a value in every member that a listing has.
Listener fullListener()
{
    Listener listener = listenersFrom({record(3000, 4711, "no\"de\n")}).front();
    listener.entry.tier = PortTier::Dev;
    listener.entry.description = "Shop";
    ListenerDetails &details = listener.details;
    details.address.family = ListenAddress::Family::IPv6;
    details.address.isV6Only = true;
    details.interface = "eth0";
    details.userId = 1000;
    details.user = "ada";
    details.unit = "shop.service";
    details.isUserUnit = true;
    details.socketUnit = "shop.socket";
    details.container = Container{};
    details.container->id = "3f2a9c1d";
    details.container->name = "shop";
    details.container->runtime = "podman";
    details.forwarding = Forwarding{};
    details.forwarding->forwarder = "docker-proxy";
    details.forwarding->pid = 4712;
    details.forwarding->port = 80;
    details.forwarding->processName = "nginx";
    details.forwarding->command = "nginx -g";
    details.forwarding->container.id = "aabbccdd";
    details.forwarding->container.runtime = "docker";
    listener.project = Project{"/home/ada/shop", "main"};
    Ancestor parent;
    parent.pid = 12;
    parent.name = "bash";
    listener.ancestors = {parent};
    listener.shadows = {{"localhost", 99, "other", "127.0.0.1"}};
    return listener;
}

TEST(ListingReader, ReadsWhatAListingHas)
{
    const Listener before = fullListener();
    const auto read = ListingReader::read(written({before}));
    const auto *listeners = std::get_if<std::vector<Listener>>(&read);
    ASSERT_NE(listeners, nullptr);
    ASSERT_EQ(listeners->size(), 1U);
    const Listener &after = listeners->front();
    EXPECT_EQ(after.record, before.record);
    EXPECT_EQ(after.entry.tier, PortTier::Dev);
    EXPECT_EQ(after.entry.description, "Shop");
    EXPECT_EQ(after.details.forwarding, before.details.forwarding);
    EXPECT_EQ(after.details.container, before.details.container);
    EXPECT_EQ(after.project, before.project);
    EXPECT_EQ(after.shadows, before.shadows);
    // What both are written as is the same to the byte.
    EXPECT_EQ(written({after}), written({before}));
}

TEST(ListingReader, ReadsAddressesOfBothFamilies)
{
    for (const char *text : {"127.0.0.1", "0.0.0.0", "::1", "::", "fe80::1"}) {
        Listener before = fullListener();
        const bool isV6 = std::string(text).find(':') != std::string::npos;
        before.details.address = {};
        before.details.address.family =
            isV6 ? ListenAddress::Family::IPv6 : ListenAddress::Family::IPv4;
        ASSERT_EQ(inet_pton(isV6 ? AF_INET6 : AF_INET, text, before.details.address.bytes.data()),
                  1);
        const auto read = ListingReader::read(written({before}));
        EXPECT_EQ(std::get<std::vector<Listener>>(read).front().details.address.text(), text);
    }
}

TEST(ListingReader, TakesMembersOfOtherTypesForUnknown)
{
    const std::string plain = written(listenersFrom({record(3000, 4711, "node")}));
    std::string json = plain;
    const std::size_t members = json.find(R"("tier":)");
    json = json.substr(0, members) +
           R"("tier":5,"description":[],"address":{},"v6Only":"yes","interface":1,"user":null,)"
           R"("userId":-1,"unit":true,"unitManager":2,"container":"x","forwarding":[1],)"
           R"("project":7,"ancestors":{"pid":1},"shadowedBy":[1,{"pid":"x"}]}])";
    const auto read = ListingReader::read(json);
    const auto *listeners = std::get_if<std::vector<Listener>>(&read);
    ASSERT_NE(listeners, nullptr) << json;
    const Listener &listener = listeners->front();
    EXPECT_EQ(listener.entry.description, "Node.js") << "by the rules of this machine";
    EXPECT_EQ(listener.details.user, "");
    EXPECT_EQ(listener.details.userId, 0U);
    EXPECT_FALSE(listener.details.container);
    EXPECT_FALSE(listener.details.forwarding);
    EXPECT_FALSE(listener.project);
    EXPECT_TRUE(listener.ancestors.empty());
    EXPECT_EQ(listener.shadows.size(), 1U);
}

TEST(ListingReader, SaysWhyATextIsNoListing)
{
    for (const char *text : {"", "hello", "{}", "[1]", "[{}]", "[[]]"}) {
        const auto read = ListingReader::read(text);
        const auto *error = std::get_if<ListingReader::Error>(&read);
        ASSERT_NE(error, nullptr) << text;
        EXPECT_NE(error->message, "");
    }
}

TEST(ListingReader, NeedsNoStackForDepth)
{
    std::string deep = written(listenersFrom({record(3000, 4711, "node")}));
    const std::size_t end = deep.rfind('}');
    deep.insert(end, ",\"x\":" + std::string(500, '[') + std::string(500, ']'));
    EXPECT_TRUE(std::holds_alternative<std::vector<Listener>>(ListingReader::read(deep)));
    const std::string deeper = std::string(1'000'000, '[') + std::string(1'000'000, ']');
    EXPECT_TRUE(std::holds_alternative<ListingReader::Error>(ListingReader::read(deeper)));
}

} // namespace
} // namespace Tarnwick

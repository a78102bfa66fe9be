// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/SessionSockets.h"

#include "Helper/linux/LocalHost.h"
#include "Helper/linux/UnixListeners.h"

#include <gmock/gmock.h>

namespace Tarnwick {
namespace {

using Address = SessionSockets::Address;
using Kind = SessionSockets::Address::Kind;
using Part = SessionGuard::Part;
using testing::ElementsAre;
using testing::IsEmpty;

Address bus(Kind kind, const std::string &name, std::uint16_t port = 0)
{
    return {kind, name, port, Part::MessageBus};
}

Address display(Kind kind, const std::string &name, std::uint16_t port = 0)
{
    return {kind, name, port, Part::DisplayServer};
}

/// At a path at which no link is followed.
Address standardDisplay(const std::string &name)
{
    Address address = display(Kind::Path, name);
    address.followsLinks = false;
    return address;
}

TEST(SessionSocketsTest, ReadsTheAddressOfABus)
{
    EXPECT_THAT(SessionSockets::busAddresses("unix:path=/run/user/1000/bus"),
                ElementsAre(bus(Kind::Path, "/run/user/1000/bus")));
    EXPECT_THAT(
        SessionSockets::busAddresses("tcp:host=192.0.2.1,port=5;unix:guid=1,path=/a%20b;"
                                     "unix:abstract=/c%0a;nonce-tcp:port=7,host=%3a%3a1"),
        ElementsAre(bus(Kind::Path, "/a b"), bus(Kind::Abstract, "/c\n"), bus(Kind::Port, {}, 7)));
    EXPECT_THAT(SessionSockets::busAddresses("unix:path=%"), ElementsAre(bus(Kind::Path, "%")));
    for (const char *const other :
         {"", "unix:", "tcp:host=localhost", "tcp:port=0", "tcp:port=65536", "autolaunch:"}) {
        EXPECT_THAT(SessionSockets::busAddresses(other), IsEmpty()) << other;
    }
}

TEST(SessionSocketsTest, ReadsTheNameOfADisplayOfThisMachine)
{
    for (const char *const local : {":1.0", "unix:1", ":1", "unix/host:1"}) {
        EXPECT_THAT(SessionSockets::displayAddresses(local),
                    ElementsAre(standardDisplay("/tmp/.X11-unix/X1"),
                                display(Kind::Abstract, "/tmp/.X11-unix/X1")))
            << local;
    }
    for (const char *const forwarded : {"localhost:10.0", "127.0.0.1:10", "[::1]:10", "::1:10"}) {
        EXPECT_THAT(SessionSockets::displayAddresses(forwarded),
                    ElementsAre(display(Kind::Port, {}, 6010)))
            << forwarded;
    }
    EXPECT_THAT(SessionSockets::displayAddresses("unix:/run/x.sock"),
                ElementsAre(display(Kind::Path, "/run/x.sock")));
    EXPECT_THAT(SessionSockets::displayAddresses("/run/x.1"),
                ElementsAre(display(Kind::Path, "/run/x.1"), display(Kind::Path, "/run/x")));
    for (const char *const other :
         {"", ":", "192.0.2.1:10.0", ":x", ":1x", "1", "localhost:65535"}) {
        EXPECT_THAT(SessionSockets::displayAddresses(other), IsEmpty()) << other;
    }
}

TEST(SessionSocketsTest, KnowsTheNamesAndAddressesOfThisMachine)
{
    for (const char *const own : {"localhost", "LOCALHOST", "127.0.0.1", "127.1.2.3", "0.0.0.0",
                                  "::1", "[::1]", "::", "127.1", "0x7f.1", "0", "::1%lo",
                                  "localhost.", "bus.localhost", "bus.LocalHost."}) {
        EXPECT_TRUE(isLocalHost(own)) << own;
        EXPECT_TRUE(mayBeLocalHost(own)) << own;
    }
    for (const char *const other : {"", "192.0.2.1", "2001:db8::1", "elsewhere.invalid",
                                    "notlocalhost", "192.513", ".localhost"}) {
        EXPECT_FALSE(isLocalHost(other)) << other;
    }
    for (const char *const name : {"", "elsewhere.invalid"}) {
        EXPECT_TRUE(mayBeLocalHost(name)) << name;
    }
    for (const char *const address : {"192.0.2.1", "2001:db8::1", "[2001:db8::1]", "192.513"}) {
        EXPECT_FALSE(mayBeLocalHost(address)) << address;
    }
}

TEST(SessionSocketsTest, FindsWhateverMayListenInTheTableOfSockets)
{
    const std::string table =
        "Num       RefCount Protocol Flags    Type St Inode Path\n"
        "0000000000000000: 00000002 00000000 00010000 0001 01 12 /run/user/1000/bus\n"
        "0000000000000000: 00000003 00000000 00000000 0001 03 13 /run/user/1000/bus\n"
        "0000000000000000: 00000002 00000000 00010000 0001 01    15 /other path\n"
        "0000000000000000: 00000002 00000000 00010000 0001 01 16\n";
    EXPECT_THAT(UnixListeners::possibleInodes(table), ElementsAre(12U, 15U, 16U));
}

} // namespace
} // namespace Tarnwick

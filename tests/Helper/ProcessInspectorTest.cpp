// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ProcessInspector.h"

#include "Helper/linux/ProcFs.h"
#include "tests/Support/Puppet.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Tarnwick {
namespace {

using Arguments = std::vector<std::string>;

Arguments split(std::string_view commandLine)
{
    return ProcessInspector::splitArguments(commandLine);
}

TEST(ProcessInspector, SplitsACommandLineAtItsNuls)
{
    EXPECT_EQ(split(std::string_view("node\0server.js\0", 15)), (Arguments{"node", "server.js"}));
    EXPECT_EQ(split(std::string_view("a\0\0b\0", 5)), (Arguments{"a", "", "b"}));
    EXPECT_EQ(split(std::string_view("a\0\0", 3)), (Arguments{"a", ""}));
    EXPECT_EQ(split("unended"), (Arguments{"unended"}));
    EXPECT_EQ(split(""), Arguments{});
}

TEST(ProcessInspector, DropsTheEmptyRoomBehindATitle)
{
    EXPECT_EQ(split(std::string_view("nginx: master\0\0\0\0", 17)), (Arguments{"nginx: master"}));
}

TEST(ProcessInspector, KeepsSixtyFourKibibytesOfArguments)
{
    const std::string whole = std::string(65'535, 'x') + '\0';
    EXPECT_EQ(split(whole), Arguments{std::string(65'535, 'x')});
    EXPECT_EQ(split(whole + "y"), Arguments{std::string(65'535, 'x')});
    EXPECT_EQ(split(std::string(65'536, 'x') + '\0'), Arguments{}) << "it does not fit";
    EXPECT_EQ(split(std::string("a\0", 2) + std::string(65'535, 'x') + '\0'), Arguments{"a"});
}

TEST(ProcessInspector, KeepsTheFirstThousandArguments)
{
    std::string line("server\0", 7);
    for (int count = 0; count < 30'000; ++count) {
        line += std::string("a\0", 2);
    }
    const Arguments arguments = split(line);
    EXPECT_EQ(arguments.size(), ProcessInspector::mostArguments);
    EXPECT_EQ(arguments.front(), "server");
}

TEST(ProcessInspector, TellsOfAnEndingProcessWhatItWas)
{
    const FileDescriptor root = ProcFs::openRoot();
    const BootClock clock;
    Puppet puppet(Puppet::program(), {"shop", "--open"});
    const auto inspector = ProcessInspector::open(root.get(), puppet.pid());
    ASSERT_NE(inspector, nullptr);
    ASSERT_TRUE(inspector->refresh(clock));
    EXPECT_FALSE(inspector->isEnding());
    const ProcessDetails before = inspector->details();

    // Nobody takes notice of its end: memory, executable and command line are gone, it is not.
    EXPECT_THROW(puppet.exec("/bin/true", {"true"}), std::runtime_error);
    ASSERT_TRUE(puppet.awaitEnd());
    EXPECT_TRUE(inspector->refresh(clock));
    EXPECT_TRUE(inspector->isEnding());
    EXPECT_EQ(inspector->details().commandPath, before.commandPath);
    EXPECT_EQ(inspector->details().arguments, before.arguments);
    EXPECT_EQ(inspector->details().memoryBytes, before.memoryBytes);
}

TEST(ProcessInspector, KnowsNoProcessThatIsNotThere)
{
    const FileDescriptor root = ProcFs::openRoot();
    EXPECT_EQ(ProcessInspector::open(root.get(), 2147483647), nullptr);
}

TEST(ProcessInspector, NoticesTheEndOfItsProcess)
{
    const FileDescriptor root = ProcFs::openRoot();
    const BootClock clock;
    Puppet puppet;
    const auto inspector = ProcessInspector::open(root.get(), puppet.pid());
    ASSERT_NE(inspector, nullptr);
    EXPECT_TRUE(inspector->refresh(clock));
    puppet.end();
    EXPECT_FALSE(inspector->refresh(clock));
    inspector->release();
    EXPECT_FALSE(inspector->reopen());
}

TEST(ProcessInspector, GoesOnAfterItsFilesWereClosed)
{
    const FileDescriptor root = ProcFs::openRoot();
    const BootClock clock;
    Puppet puppet;
    const Puppet::Listener listener = puppet.listen();
    const auto inspector = ProcessInspector::open(root.get(), puppet.pid());
    ASSERT_NE(inspector, nullptr);
    const auto number = static_cast<unsigned>(listener.descriptor);
    const FileDescriptor descriptors =
        ProcFs::openDirectoryOfProcess(root.get(), puppet.pid(), "/fd");
    const std::uint32_t inode = ProcFs::descriptor(descriptors.get(), number).inode;
    EXPECT_TRUE(inspector->holds(number, inode));
    EXPECT_FALSE(inspector->holds(number, inode + 1));
    EXPECT_FALSE(inspector->holds(number + 1, inode));
    inspector->release();
    EXPECT_FALSE(inspector->holds(number, inode));
    ASSERT_TRUE(inspector->reopen());
    EXPECT_TRUE(inspector->holds(number, inode));
    EXPECT_TRUE(inspector->refresh(clock));
    EXPECT_EQ(inspector->details().processName, "puppet");
}

} // namespace
} // namespace Tarnwick

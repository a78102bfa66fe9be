// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ProcFs.h"

#include "tests/Support/FailingCalls.h"
#include "tests/Support/OtherUser.h"
#include "tests/Support/Puppet.h"
#include "tests/Support/TemporaryCopy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

TEST(ProcFs, TakesAStatLineApart)
{
    const auto stat =
        ProcFs::parseStat("4711 (node) S 12 34 34 0 -1 4194560 9 8 7 6 5 4 3 2 20 0 11 0 "
                          "987654 1000 200 18446744073709551615");
    ASSERT_TRUE(stat.has_value());
    EXPECT_EQ(stat->comm, "node");
    EXPECT_EQ(stat->state, 'S');
    EXPECT_EQ(stat->parent, 12);
    EXPECT_EQ(stat->processGroup, 34);
    EXPECT_EQ(stat->flags, 4194560U);
    EXPECT_EQ(stat->startTicks, 987654U);
}

TEST(ProcFs, TakesANameWithParenthesesAndBlanksApart)
{
    const auto stat =
        ProcFs::parseStat("1 (a) R 9 (b) Z 2 3 3 0 -1 64 0 0 0 0 0 0 0 0 20 0 1 0 55 0 0");
    ASSERT_TRUE(stat.has_value());
    EXPECT_EQ(stat->comm, "a) R 9 (b");
    EXPECT_EQ(stat->state, 'Z');
    EXPECT_EQ(stat->startTicks, 55U);
}

TEST(ProcFs, TakesNoBrokenStatLine)
{
    for (const char *line : {"", "1", "1 (a", "1 (a)", "1 (a) ", "1 (a) S", "1 (a) S 2 3 4 5 6",
                             "1 (a) S x 3 3 0 -1 64 0 0 0 0 0 0 0 0 20 0 1 0 55",
                             "1 (a) S 2 3 3 0 -1 64 0 0 0 0 0 0 0 0 20 0 1 0 x", "1 )a( S 2 3"}) {
        EXPECT_FALSE(ProcFs::parseStat(line).has_value()) << line;
    }
}

TEST(ProcFs, ReadsTheInodeOfASocketFromItsLink)
{
    EXPECT_EQ(ProcFs::socketInode("socket:[4711]"), 4711U);
    EXPECT_EQ(ProcFs::socketInode("socket:[4294967295]"), 4294967295U);
}

TEST(ProcFs, TakesNothingElseForASocket)
{
    for (const char *link :
         {"", "/dev/null", "pipe:[4711]", "socket:[]", "socket:[47x]", "socket:[47",
          "socket:[4294967296]", "anon_inode:[eventpoll]", "socket:[-1]"}) {
        EXPECT_FALSE(ProcFs::socketInode(link).has_value()) << link;
    }
}

TEST(ProcFs, ListsTheProcessesInOrder)
{
    const FileDescriptor root = ProcFs::openRoot();
    const Puppet puppet;
    const std::vector<ProcFs::ProcessEntry> processes = ProcFs::processes(root.get());
    EXPECT_TRUE(std::is_sorted(processes.begin(), processes.end()));
    EXPECT_TRUE(std::any_of(processes.begin(), processes.end(),
                            [&puppet](const auto &entry) { return entry.pid == puppet.pid(); }));
}

TEST(ProcFs, ReadsTheWholeOfAFileThatIsHandedOutInPieces)
{
    const FileDescriptor root = ProcFs::openRoot();
    std::string mounts;
    ASSERT_TRUE(ProcFs::readFile(root.get(), "kallsyms", mounts, 300'000));
    EXPECT_EQ(mounts.size(), 300'000U);
    ASSERT_TRUE(ProcFs::readFile(root.get(), "self/mountinfo", mounts, 1UL << 20U));
    EXPECT_EQ(mounts.back(), '\n');
}

TEST(ProcFs, FailsOnAFileThatIsNotThere)
{
    const FileDescriptor root = ProcFs::openRoot();
    std::string content = "before";
    EXPECT_FALSE(ProcFs::readFile(root.get(), "self/no-such-file", content, 10));
    EXPECT_EQ(content, "");
}

TEST(ProcFs, TellsSocketsFromFilesAndFromNothing)
{
    Puppet puppet;
    const Puppet::Listener listener = puppet.listen();
    const FileDescriptor root = ProcFs::openRoot();
    const FileDescriptor descriptors =
        ProcFs::openDirectoryOfProcess(root.get(), puppet.pid(), "/fd");
    using Kind = ProcFs::Descriptor::Kind;
    const auto kindOf = [&descriptors](int number) {
        return ProcFs::descriptor(descriptors.get(), static_cast<unsigned>(number)).kind;
    };
    EXPECT_EQ(kindOf(listener.descriptor), Kind::Socket);
    EXPECT_EQ(kindOf(199), Kind::None);
    puppet.openFiles(1);
    EXPECT_EQ(kindOf(listener.descriptor + 1), Kind::Other);
    EXPECT_TRUE(ProcFs::mayLookAt(descriptors.get()));
}

TEST(ProcFs, TakesAFileWithAPathOfMoreThanAPageForAFile)
{
    constexpr int depth = 20;
    const std::string name(250, 'd');
    const TemporaryCopy copies;
    FileDescriptor folder(::open(copies.folder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::vector<FileDescriptor> folders;
    for (int level = 0; level < depth; ++level) {
        ASSERT_EQ(::mkdirat(folder.get(), name.c_str(), 0700), 0);
        FileDescriptor inner(
            ::openat(folder.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        folders.push_back(std::exchange(folder, std::move(inner)));
    }
    const FileDescriptor root = ProcFs::openRoot();
    const FileDescriptor descriptors =
        ProcFs::openDirectoryOfProcess(root.get(), ::getpid(), "/fd");
    EXPECT_EQ(ProcFs::descriptor(descriptors.get(), static_cast<unsigned>(folder.get())).kind,
              ProcFs::Descriptor::Kind::Other);
    // No path reaches the innermost folders.
    while (!folders.empty()) {
        EXPECT_EQ(::unlinkat(folders.back().get(), name.c_str(), AT_REMOVEDIR), 0);
        folders.pop_back();
    }
}

TEST(ProcFs, SaysOfHalfADirectoryThatItIsNotWhole)
{
    // More than one read of the directory takes.
    Puppet server;
    server.openFiles(3000);
    const FileDescriptor root = ProcFs::openRoot();
    const FileDescriptor directory =
        ProcFs::openDirectoryOfProcess(root.get(), server.pid(), "/fd");
    std::vector<ProcFs::NumberedEntry> all;
    ASSERT_TRUE(ProcFs::readNumbers(directory.get(), all));
    ASSERT_GE(all.size(), 3000U);
    constexpr int noFilter = 125;
    const int result = inOwnProcess([&] {
        try {
            constexpr std::array<long, 1> watched{SYS_getdents64};
            FailingCalls calls(watched);
            calls.fail(1, EACCES);
            std::vector<ProcFs::NumberedEntry> entries;
            const bool isWhole = ProcFs::readNumbers(directory.get(), entries);
            const bool isErrnoKept = errno == EACCES;
            const bool isPart = !entries.empty() && entries.size() < all.size();
            return !isWhole && isErrnoKept && isPart ? 0 : 1;
        } catch (const std::runtime_error &) {
            return noFilter;
        }
    });
    if (result == noFilter) {
        GTEST_SKIP() << "no filter of system calls to be had";
    }
    EXPECT_EQ(result, 0);
}

} // namespace
} // namespace Tarnwick

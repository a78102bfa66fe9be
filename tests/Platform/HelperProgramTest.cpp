// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/HelperProgram.h"
#include "tests/Platform/FuseProgram.h"
#include "tests/Platform/Polling.h"
#include "tests/Support/ChildProcess.h"
#include "tests/Support/Puppet.h"
#include "tests/Support/TemporaryCopy.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <future>
#include <string>

#include <unistd.h>

using namespace Tarnwick;
using Relation = HelperProgram::Relation;

namespace fs = std::filesystem;

namespace {

fs::path runningProgram(pid_t pid)
{
    std::error_code failed;
    return fs::read_symlink("/proc/" + std::to_string(pid) + "/exe", failed);
}

} // namespace

TEST(HelperProgram, IsTheOneBesideTheApplicationWhereThereIsOne)
{
    const TemporaryFolder folder;
    const fs::path beside = folder.path() / "tarnwick-helper";
    std::ofstream(beside) << "any";
    const HelperProgram program = HelperProgram::besideApplication(folder.path());
    EXPECT_EQ(program.path, beside);
    EXPECT_FALSE(program.isInstalled);
}

TEST(HelperProgram, IsElseTheInstalledOne)
{
    const TemporaryFolder folder;
    const HelperProgram program = HelperProgram::besideApplication(folder.path() / "bin");
    EXPECT_TRUE(program.isInstalled);
    EXPECT_EQ(program.path.filename(), "tarnwick-helper");
    EXPECT_TRUE(program.path.is_absolute());
    EXPECT_EQ(program.path, program.path.lexically_normal());
    EXPECT_NE(program.path.parent_path(), folder.path() / "bin");
}

TEST(HelperProgram, IsWhatAProcessOfItRunsWhateverPathItWasStartedBy)
{
    const TemporaryCopy copies;
    const fs::path path = copies.copy(Puppet::program(), "tarnwick-helper");
    const fs::path link = copies.folder() / "link";
    fs::create_symlink(path, link);
    const Puppet puppet(link);
    EXPECT_EQ((HelperProgram{.path = path}.relationOf(puppet.pid())), Relation::Same);
    EXPECT_EQ((HelperProgram{.path = link}.relationOf(puppet.pid())), Relation::Same);
}

TEST(HelperProgram, KnowsAnotherCopyByItsName)
{
    const TemporaryCopy ours;
    const TemporaryCopy theirs;
    const fs::path path = ours.copy(Puppet::program(), "tarnwick-helper");
    const fs::path other = theirs.copy(Puppet::program(), "tarnwick-helper");
    const Puppet puppet(other);
    EXPECT_EQ((HelperProgram{.path = path}.relationOf(puppet.pid())), Relation::OtherCopy);
    fs::remove(other);
    EXPECT_EQ((HelperProgram{.path = path}.relationOf(puppet.pid())), Relation::OtherCopy);
}

TEST(HelperProgram, KnowsAFileThatWasDeletedOrReplacedAtItsPath)
{
    const TemporaryCopy copies;
    const fs::path path = copies.copy(Puppet::program(), "tarnwick-helper");
    const Puppet puppet(path);
    fs::remove(path);
    EXPECT_EQ((HelperProgram{.path = path}.relationOf(puppet.pid())), Relation::Former);
    fs::rename(copies.copy(Puppet::program(), "new"), path);
    EXPECT_EQ((HelperProgram{.path = path}.relationOf(puppet.pid())), Relation::Former);
}

TEST(HelperProgram, TakesAnyOtherProgramForAStranger)
{
    const TemporaryCopy copies;
    const fs::path path = copies.copy(Puppet::program(), "tarnwick-helper");
    const fs::path gone = copies.copy(Puppet::program(), "gone");
    const Puppet other;
    const Puppet deleted(gone);
    fs::remove(gone);
    EXPECT_EQ((HelperProgram{.path = path}.relationOf(other.pid())), Relation::Stranger);
    EXPECT_EQ((HelperProgram{.path = path}.relationOf(deleted.pid())), Relation::Stranger);
}

TEST(HelperProgram, TakesWhatCannotBeLookedIntoForAStranger)
{
    const HelperProgram program{.path = Puppet::program()};
    Puppet puppet;
    EXPECT_EQ(program.relationOf(0), Relation::Stranger);
    EXPECT_EQ(program.relationOf(-1), Relation::Stranger);
    EXPECT_EQ(program.relationOf(::getpid()), Relation::Stranger);
    EXPECT_EQ(program.relationOf(puppet.makeZombie()), Relation::Stranger);
    EXPECT_EQ((HelperProgram{.path = "/nowhere/tarnwick-helper"}.relationOf(::getpid())),
              Relation::Stranger);
}

TEST(HelperProgram, DoesNotWaitForTheFileSystemThatAnotherProcessRunsFrom)
{
    const TemporaryCopy copies;
    const HelperProgram program{.path = copies.copy(Puppet::program(), "tarnwick-helper")};
    FuseProgram theirs("/bin/sleep", "tarnwick-helper");
    if (!theirs.isMounted()) {
        GTEST_SKIP() << "this user cannot serve a file system";
    }
    const ChildProcess process({theirs.path().string(), "60"}, {});
    ASSERT_TRUE(awaitOutside([&] { return runningProgram(process.pid()) == theirs.path(); }));
    theirs.pause();
    auto relation =
        std::async(std::launch::async, [&] { return program.relationOf(process.pid()); });
    EXPECT_EQ(relation.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    theirs.resume();
    EXPECT_EQ(relation.get(), Relation::OtherCopy);
}

TEST(HelperProgram, TakesTheSamePathInAnotherMountNamespaceForAStranger)
{
    const TemporaryCopy copies;
    const fs::path path = copies.copy(Puppet::program(), "tarnwick-helper");
    const fs::path disguised = copies.copy("/bin/sleep", "disguised");
    const ChildProcess process({"unshare", "--mount", "sh", "-c",
                                "mount --bind \"$1\" \"$2\" && exec \"$2\" 60", "sh",
                                disguised.string(), path.string()},
                               {});
    if (!awaitOutside(
            [&] { return process.hasEnded() || runningProgram(process.pid()) == path; }) ||
        process.hasEnded()) {
        GTEST_SKIP() << "this user cannot make a mount namespace";
    }
    EXPECT_EQ((HelperProgram{.path = path}.relationOf(process.pid())), Relation::Stranger);
}

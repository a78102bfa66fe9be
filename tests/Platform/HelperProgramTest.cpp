// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/HelperProgram.h"
#include "tests/Support/Puppet.h"
#include "tests/Support/TemporaryCopy.h"

#include <gtest/gtest.h>

#include <fstream>

#include <unistd.h>

using namespace Tarnwick;

namespace fs = std::filesystem;

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

TEST(HelperProgram, IsRunByAProcessOfItWhateverPathItWasStartedBy)
{
    const TemporaryCopy copies;
    const fs::path path = copies.copy(Puppet::program(), "tarnwick-helper");
    const fs::path link = copies.folder() / "link";
    fs::create_symlink(path, link);
    const Puppet puppet(link);
    EXPECT_TRUE((HelperProgram{.path = path}.isRunBy(puppet.pid())));
    EXPECT_TRUE((HelperProgram{.path = link}.isRunBy(puppet.pid())));
}

TEST(HelperProgram, IsNotRunByAProcessOfAnEqualFileElsewhere)
{
    const TemporaryCopy copies;
    const fs::path path = copies.copy(Puppet::program(), "tarnwick-helper");
    const Puppet other;
    EXPECT_FALSE((HelperProgram{.path = path}.isRunBy(other.pid())));
}

TEST(HelperProgram, IsRunByAProcessOfAFileThatWasDeletedThere)
{
    const TemporaryCopy copies;
    const fs::path path = copies.copy(Puppet::program(), "tarnwick-helper");
    const Puppet puppet(path);
    fs::remove(path);
    EXPECT_TRUE((HelperProgram{.path = path}.isRunBy(puppet.pid())));
    const Puppet other;
    EXPECT_FALSE((HelperProgram{.path = path}.isRunBy(other.pid())));
}

TEST(HelperProgram, IsRunByAProcessOfAFileThatWasReplacedThere)
{
    const TemporaryCopy copies;
    const fs::path path = copies.copy(Puppet::program(), "tarnwick-helper");
    const Puppet puppet(path);
    fs::rename(copies.copy(Puppet::program(), "new"), path);
    EXPECT_TRUE((HelperProgram{.path = path}.isRunBy(puppet.pid())));
}

TEST(HelperProgram, IsNotRunByAProcessOfAFileThatWasDeletedElsewhere)
{
    const TemporaryCopy copies;
    const fs::path path = copies.copy(Puppet::program(), "tarnwick-helper");
    const fs::path gone = copies.copy(Puppet::program(), "gone");
    const Puppet puppet(gone);
    fs::remove(gone);
    EXPECT_FALSE((HelperProgram{.path = path}.isRunBy(puppet.pid())));
}

TEST(HelperProgram, IsNotRunByNobody)
{
    const HelperProgram program{.path = Puppet::program()};
    EXPECT_FALSE(program.isRunBy(0));
    EXPECT_FALSE(program.isRunBy(-1));
    EXPECT_FALSE(program.isRunBy(::getpid()));
    EXPECT_FALSE((HelperProgram{.path = "/nowhere/tarnwick-helper"}.isRunBy(::getpid())));
}

TEST(HelperProgram, IsNotRunByAProcessThatHasEnded)
{
    Puppet puppet;
    const pid_t zombie = puppet.makeZombie();
    EXPECT_FALSE((HelperProgram{.path = Puppet::program()}.isRunBy(zombie)));
}

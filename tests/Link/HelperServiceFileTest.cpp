// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Link/ClientFixture.h"

#include <filesystem>
#include <fstream>
#include <utility>

using namespace Tarnwick;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

const char *const invalidated = "[helper] XPC connection invalidated";

/// An installed helper, which is started by the bus and by nobody else.
class HelperServiceFileTest : public ClientFixture
{
protected:
    HelperServiceFileTest() { m_program.isInstalled = true; }
    ~HelperServiceFileTest() override { std::filesystem::remove(file()); }

    void offer(const std::filesystem::path &program) const
    {
        std::ofstream(file()) << "[D-BUS Service]\nName=com.velmora.tarnwick.helper\nExec="
                              << program.string() << '\n';
    }

    [[nodiscard]] std::filesystem::path file() const
    {
        return m_bus.services() / "com.velmora.tarnwick.helper.service";
    }
};

} // namespace

TEST_F(HelperServiceFileTest, HasTheBusStartTheHelper)
{
    offer(m_program.path);
    EXPECT_TRUE(outcome(scan()).has_value());
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(HelperServiceFileTest, HasTheBusStartItAgain)
{
    offer(m_program.path);
    ASSERT_TRUE(outcome(scan()).has_value());
    RunningHelper(m_bus).signal(SIGKILL);
    ASSERT_TRUE(awaitLines(1));
    EXPECT_TRUE(outcome(scan()).has_value());
    EXPECT_THAT(m_log.messages(), ElementsAre("[helper] XPC connection interrupted"));
}

TEST_F(HelperServiceFileTest, IsStartedWithoutTheBusWhereTheBusDoesNotLook)
{
    EXPECT_TRUE(outcome(scan()).has_value());
    EXPECT_THAT(m_log.messages(), IsEmpty());
}

TEST_F(HelperServiceFileTest, IsInvalidatedWhenNeitherTheBusNorTheFolderHasIt)
{
    const std::filesystem::path program = std::exchange(m_program.path, "/nowhere/tarnwick-helper");
    const Scan lost = scan();
    ASSERT_TRUE(awaitLines(2));
    EXPECT_THAT(m_log.messages(), ElementsAre(invalidated, StartsWith("[helper] proxy error: ")));
    EXPECT_FALSE(lost.isThere());
    m_program.path = program;
}

TEST_F(HelperServiceFileTest, IsInvalidatedWhenTheServiceEndsAtOnce)
{
    offer("/bin/false");
    const Scan lost = scan();
    ASSERT_TRUE(awaitLines(2));
    EXPECT_THAT(m_log.messages(), ElementsAre(invalidated, StartsWith("[helper] proxy error: ")));
    EXPECT_FALSE(lost.isThere());
}

TEST_F(HelperServiceFileTest, IsInvalidatedWhenTheServiceCannotBeRun)
{
    offer("/nowhere/tarnwick-helper");
    const Scan lost = scan();
    ASSERT_TRUE(awaitLines(2));
    EXPECT_THAT(m_log.messages(), ElementsAre(invalidated, StartsWith("[helper] proxy error: ")));
    EXPECT_FALSE(lost.isThere());
}

TEST_F(HelperServiceFileTest, IsInvalidatedWhenTheServiceRunsAnotherProgram)
{
    offer(m_program.path);
    m_program.path = "/bin/true";
    const Scan lost = scan();
    ASSERT_TRUE(awaitLines(2));
    EXPECT_THAT(m_log.messages(),
                ElementsAre(invalidated, testing::EndsWith("which does not run /bin/true")));
    EXPECT_FALSE(lost.isThere());
}

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/UnitFiles.h"

#include "tests/Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/stat.h>

namespace Tarnwick {
namespace {

/// Units in two folders, the first of which comes first.
class UnitFilesTest : public ::testing::Test
{
protected:
    void write(const std::string &path, std::string_view text) const
    {
        const std::filesystem::path file = m_folder.path() / path;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }

    const TemporaryFolder m_folder;
    const UnitFiles m_files{
        {(m_folder.path() / "etc").string(), (m_folder.path() / "usr").string(), "/no/folder"}};
};

TEST_F(UnitFilesTest, FindTheSocketUnitThatHasAPort)
{
    write("usr/cups.socket", "[Unit]\nListenStream=8080\n[Socket]\nListenStream=/run/cups.sock\n"
                             "ListenStream = 631\n");
    write("usr/sshd.socket", "# comment\n[Socket]\nListenStream=0.0.0.0:22\nListenStream=[::]:22\n"
                             "Accept=yes\n");
    write("usr/shop@.socket", "[Socket]\nListenStream=8081\n");
    EXPECT_EQ(m_files.socketUnit(631), "cups.socket");
    EXPECT_EQ(m_files.socketUnit(22), "sshd.socket");
    EXPECT_EQ(m_files.socketUnit(8080), std::nullopt) << "not in the section of sockets";
    EXPECT_EQ(m_files.socketUnit(8081), std::nullopt) << "a template";
    EXPECT_EQ(m_files.serviceOf("cups.socket"), "cups.service");
    EXPECT_EQ(m_files.serviceOf("sshd.socket"), "sshd@.service");
}

TEST_F(UnitFilesTest, LetFoldersThatComeFirstAndDropInsDecide)
{
    write("usr/cups.socket", "[Socket]\nListenStream=631\n");
    write("etc/cups.socket", "[Socket]\nListenStream=632\nService=print.service\n");
    EXPECT_EQ(m_files.socketUnit(631), std::nullopt);
    EXPECT_EQ(m_files.socketUnit(632), "cups.socket");
    EXPECT_EQ(m_files.serviceOf("cups.socket"), "print.service");
    write("usr/cups.socket.d/10-port.conf", "[Socket]\nListenStream=\nListenStream=633\n");
    EXPECT_EQ(m_files.socketUnit(632), std::nullopt) << "an empty value discards those before it";
    EXPECT_EQ(m_files.socketUnit(633), "cups.socket");
    write("etc/cups.socket.d/10-port.conf", "[Socket]\nListenStream=634\n");
    EXPECT_EQ(m_files.socketUnit(633), std::nullopt) << "hidden by the drop-in of that name";
    EXPECT_EQ(m_files.socketUnit(634), "cups.socket");
}

TEST_F(UnitFilesTest, NameNoSocketUnitWhereSeveralMayHaveThePort)
{
    write("usr/a.socket", "[Socket]\nListenStream=8080\n");
    write("usr/b.socket", "[Socket]\nListenStream=127.0.0.1:8080\n");
    EXPECT_EQ(m_files.socketUnit(8080), std::nullopt);
    write("etc/sockets.target.wants/b.socket", "");
    EXPECT_EQ(m_files.socketUnit(8080), "b.socket") << "only that one is started";
}

TEST_F(UnitFilesTest, HaveTheValuesOfInstancesFromTheirTemplate)
{
    write("usr/shop@.service", "[Service]\nRestart=on-failure\n");
    write("etc/shop@blue.service.d/x.conf", "[Service]\nRestart=always\n");
    EXPECT_TRUE(m_files.has("shop@green.service"));
    EXPECT_FALSE(m_files.has("shop.service"));
    EXPECT_EQ(m_files.value("shop@green.service", "Service", "Restart"), "on-failure");
    EXPECT_EQ(m_files.value("shop@blue.service", "Service", "Restart"), "always");
}

TEST_F(UnitFilesTest, ReadNothingButRegularFiles)
{
    std::filesystem::create_directories(m_folder.path() / "usr");
    ASSERT_EQ(::mkfifo((m_folder.path() / "usr/pipe.socket").c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/zero", m_folder.path() / "usr/zero.socket");
    EXPECT_EQ(m_files.socketUnit(80), std::nullopt);
}

TEST(ListenStreamTest, HasAPortWhereItIsAnInternetSocket)
{
    EXPECT_EQ(UnitFiles::portOf("8080"), 8080);
    EXPECT_EQ(UnitFiles::portOf("127.0.0.1:8080"), 8080);
    EXPECT_EQ(UnitFiles::portOf("[::1]:8080"), 8080);
    for (const char *other : {"/run/cups.sock", "@abstract", "vsock:2:8080", "0", "80800",
                              "127.0.0.1", "", "%i:80", "/run/a:80"}) {
        EXPECT_EQ(UnitFiles::portOf(other), std::nullopt) << other;
    }
}

} // namespace
} // namespace Tarnwick

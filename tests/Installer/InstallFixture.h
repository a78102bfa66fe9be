// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/Version.h"
#include "tests/Installer/InstallProgram.h"
#include "tests/Support/ChildProcess.h"
#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace Tarnwick {

/// A portable folder, a folder for applications, and a pkexec that asks nobody.
class InstallFixture : public testing::Test
{
protected:
    using Path = std::filesystem::path;
    /// The lines of a list for the programs that every copy has.
    inline static const std::string programs =
        "755 bin/tarnwick\n755 bin/tarnwick-helper\n755 bin/tarnwick-install\n";
    /// What is in a folder: paths, with modes and contents.
    using Contents = std::map<std::string, std::string>;

    InstallFixture()
    {
        ::umask(022); // folders that a group may write to are not the installer's
        std::filesystem::permissions(m_folder.path(), std::filesystem::perms(0755));
        std::filesystem::create_directories(m_applications);
        std::filesystem::permissions(m_applications, std::filesystem::perms(0755));
        write(m_source / "bin" / "tarnwick", programText(), 0755);
        write(m_source / "bin" / "tarnwick-helper", "#!/bin/sh\n", 0755);
        write(m_source / "bin" / "tarnwick-install", "#!/bin/sh\n", 0755);
        write(m_source / "share" / "notes", "notes\n");
        list(programs + "644 share/notes\n");
        pkexec("exec \"$@\"\n");
    }

    /// What prints the version that a copy must have.
    static std::string programText(const std::string &more = {})
    {
        return "#!/bin/sh\necho 'tarnwick " + std::string(version) + "'\n" + more;
    }

    static void write(const Path &file, const std::string &text, mode_t mode = 0644)
    {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
        std::filesystem::permissions(file, std::filesystem::perms(mode));
    }

    static std::string read(const Path &file)
    {
        std::ifstream stream(file);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    void list(const std::string &files) const
    {
        write(m_source / ".tarnwick-portable", "tarnwick-portable 1\n" + files);
    }

    void pkexec(const std::string &script) const
    {
        write(m_folder.path() / "bin" / "pkexec",
              "#!/bin/sh\necho \"$@\" > '" + (m_folder.path() / "asked").string() + "'\n" + script,
              0755);
    }

    [[nodiscard]] bool wasAsked() const
    {
        return std::filesystem::exists(m_folder.path() / "asked");
    }

    static Contents contents(const Path &folder)
    {
        Contents result;
        std::error_code failed;
        for (const auto &entry : std::filesystem::recursive_directory_iterator(folder, failed)) {
            struct stat status = {};
            ::lstat(entry.path().c_str(), &status);
            std::string text = std::to_string(status.st_mode);
            if (S_ISREG(status.st_mode)) {
                text += ' ' + read(entry.path());
            } else if (S_ISLNK(status.st_mode)) {
                text += " to " + std::filesystem::read_symlink(entry.path()).string();
            }
            result[entry.path().lexically_relative(folder)] = text;
        }
        return result;
    }

    /// Runs the installer to its end, by way of m_launcher, and gives its status.
    std::optional<int> install(const Path &source)
    {
        const Path output = m_folder.path() / "output";
        std::filesystem::remove(output);
        std::vector<std::string> command = m_launcher;
        for (const std::string &word :
             {std::string(installProgram), source.string(), m_applications.string() + "/",
              std::string("bin/tarnwick")}) {
            command.push_back(word);
        }
        ChildProcess installer(
            command,
            {.output = output,
             .environment = {"PATH=" + (m_folder.path() / "bin").string() + ":/usr/bin:/bin"}});
        const std::optional<int> status = installer.awaitEnd(std::chrono::minutes(2));
        m_said = read(output);
        return status;
    }
    std::optional<int> install() { return install(m_source); }

    /// An older copy at the place of the new one.
    void haveOlderCopy() const
    {
        write(m_target / "bin" / "tarnwick", "older\n", 0755);
        write(m_target / "gone" / "deep" / "file", "older\n");
        write(m_target / ".tarnwick-portable",
              "tarnwick-portable 1\n755 bin/tarnwick\n644 gone/deep/file\n");
    }

    /// Nothing is installed, and all is in the folder for applications that was there before.
    void expectRefused(const testing::Matcher<std::string> &reason)
    {
        const Contents before = contents(m_applications);
        EXPECT_EQ(install(), 1);
        const std::string begin = "tarnwick-install: ";
        ASSERT_TRUE(m_said.starts_with(begin) && m_said.ends_with('\n')) << m_said;
        EXPECT_THAT(m_said.substr(begin.size(), m_said.size() - begin.size() - 1), reason);
        EXPECT_EQ(contents(m_applications), before);
    }

    /// The same, and the administrator's password is not asked for.
    void expectRefusedAtOnce(const testing::Matcher<std::string> &reason)
    {
        std::filesystem::remove(m_folder.path() / "asked");
        expectRefused(reason);
        EXPECT_FALSE(wasAsked());
    }

    TemporaryFolder m_folder;
    Path m_source = m_folder.path() / "home" / "Tarn'wick copy";
    Path m_applications = m_folder.path() / "opt";
    Path m_target = m_applications / "Tarn'wick copy";
    std::vector<std::string> m_launcher; ///< the first words of the installer's command
    std::string m_said;
};

} // namespace Tarnwick

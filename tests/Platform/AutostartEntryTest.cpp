// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/AutostartEntry.h"

#include "tests/Platform/Polling.h"
#include "tests/Platform/Scripts.h"
#include "tests/Support/ChildProcess.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace Tarnwick {
namespace {

using namespace std::string_literals;
using Status = LoginItem::Status;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

void write(const fs::path &file, const std::string &text)
{
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text;
}

std::string read(const fs::path &file)
{
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Lets the file system refuse what it refuses an ordinary user, also when root runs the tests.
class AsOrdinaryUser
{
public:
    AsOrdinaryUser() { std::ignore = seteuid(geteuid() == 0 ? 65534 : geteuid()); }
    ~AsOrdinaryUser() { std::ignore = seteuid(getuid()); }
    AsOrdinaryUser(const AsOrdinaryUser &) = delete;
    AsOrdinaryUser &operator=(const AsOrdinaryUser &) = delete;
};

/// What the launcher of entries ends with where a session's own is missing.
constexpr int notHere = 77;

class AutostartEntryTest : public testing::Test
{
protected:
    /// A program that writes its arguments beside itself.
    [[nodiscard]] fs::path makeProgram(const std::string &name) const
    {
        fs::path program = m_folder.path() / name;
        write(program,
              "#!/bin/sh\nprintf '%s\\n' \"$@\" > \"$0.part\"\nmv \"$0.part\" \"$0.ran\"\n");
        fs::permissions(program, fs::perms(0755));
        return program;
    }

    /// An entry of a desktop, with a program that is there.
    [[nodiscard]] std::string entryText(const std::string &more = {}) const
    {
        return "[Desktop Entry]\nType=Application\nName=Tarnwick\nExec=" + m_program.string() +
               "\n" + more;
    }

    /// The status of @p launcher with the entry. Where that is 0, @p program has run and left its
    /// arguments beside itself.
    [[nodiscard]] std::optional<int> launch(const char *launcher, const fs::path &program) const
    {
        const fs::path ran = program.string() + ".ran";
        fs::remove(ran);
        ChildProcess process({launchEntryProgram, launcher, m_file.string()},
                             {.output = m_output, .environment = {}});
        const std::optional<int> status = process.awaitEnd(patience);
        const bool hasRun = status != 0 || awaitOutside([&ran] { return fs::exists(ran); });
        EXPECT_TRUE(hasRun) << read(m_output) << read(m_file);
        return status;
    }

    TemporaryFolder m_folder;
    fs::path m_output = m_folder.path() / "output";
    fs::path m_program = makeProgram("tarnwick");
    fs::path m_autostart = m_folder.path() / "config" / "autostart";
    fs::path m_system = m_folder.path() / "etc" / "autostart"; ///< is not there at first
    AutostartEntry::Folders m_folders{.user = m_autostart,
                                      .system = {m_folder.path() / "none", m_system}};
    AutostartEntry m_entry{m_folders, m_program};
    fs::path m_file = m_autostart / "com.velmora.tarnwick.desktop";
    fs::path m_systemFile = m_system / "com.velmora.tarnwick.desktop";
    ScopedEnvironment m_desktop{"XDG_CURRENT_DESKTOP", std::nullopt};
};

TEST_F(AutostartEntryTest, IsNotRegisteredWithoutAFile)
{
    EXPECT_EQ(m_entry.status(), Status::NotRegistered);
    EXPECT_EQ(m_entry.unregisterApplication(), std::nullopt);
    EXPECT_FALSE(fs::exists(m_autostart));
}

TEST_F(AutostartEntryTest, IsEnabledOnceRegisteredAndGoneOnceUnregistered)
{
    EXPECT_EQ(m_entry.registerApplication(), std::nullopt);
    EXPECT_EQ(m_entry.status(), Status::Enabled);
    EXPECT_EQ(read(m_file), "[Desktop Entry]\nType=Application\nName=Tarnwick\nExec=\"" +
                                m_program.string() + "\" --login-item\nTryExec=" +
                                m_program.string() + "\nX-GNOME-Autostart-enabled=true\n");
    EXPECT_EQ(m_entry.unregisterApplication(), std::nullopt);
    EXPECT_EQ(m_entry.status(), Status::NotRegistered);
    EXPECT_FALSE(fs::exists(m_file));
}

TEST_F(AutostartEntryTest, LeavesNothingElseInTheFolder)
{
    ASSERT_EQ(m_entry.registerApplication(), std::nullopt);
    ASSERT_EQ(m_entry.registerApplication(), std::nullopt);
    EXPECT_EQ(std::distance(fs::directory_iterator(m_autostart), fs::directory_iterator()), 1);
}

TEST_F(AutostartEntryTest, ReadsTheFileEachTime)
{
    ASSERT_EQ(m_entry.registerApplication(), std::nullopt);
    write(m_file, entryText("Hidden=true\n"));
    EXPECT_EQ(m_entry.status(), Status::NotRegistered);
    write(m_file, entryText());
    EXPECT_EQ(m_entry.status(), Status::Enabled);
}

TEST_F(AutostartEntryTest, HonoursTheSwitchOfGnomesSettingsWhereTheSessionReadsIt)
{
    for (const char *const value : {"false", "0", "True", "yes", ""}) {
        write(m_file, entryText("X-GNOME-Autostart-enabled="s + value + "\n"));
        EXPECT_EQ(m_entry.status(), Status::Enabled) << value;
        const ScopedEnvironment desktop("XDG_CURRENT_DESKTOP", "ubuntu:GNOME");
        EXPECT_EQ(m_entry.status(), Status::NotRegistered) << value;
    }
    const ScopedEnvironment desktop("XDG_CURRENT_DESKTOP", "ubuntu:GNOME");
    ASSERT_EQ(m_entry.registerApplication(), std::nullopt);
    EXPECT_EQ(m_entry.status(), Status::Enabled);
}

TEST_F(AutostartEntryTest, IsSwitchedOffWhereItIsMeantForOtherDesktops)
{
    for (const char *const line : {"OnlyShowIn=KDE;\n", "NotShowIn=XFCE;MATE;\n"}) {
        write(m_file, entryText(line));
        const ScopedEnvironment desktop("XDG_CURRENT_DESKTOP", "XFCE");
        EXPECT_EQ(m_entry.status(), Status::NotRegistered);
        ASSERT_EQ(m_entry.registerApplication(), std::nullopt);
        EXPECT_EQ(m_entry.status(), Status::Enabled);
        const ScopedEnvironment other("XDG_CURRENT_DESKTOP", "KDE");
        EXPECT_EQ(m_entry.status(), Status::Enabled);
    }
}

TEST_F(AutostartEntryTest, IsEnabledByAnEntryForAllUsers)
{
    write(m_systemFile, entryText());
    EXPECT_EQ(m_entry.status(), Status::Enabled);
    write(m_systemFile, entryText("Hidden=true\n"));
    EXPECT_EQ(m_entry.status(), Status::NotRegistered);
    write(m_systemFile, "[Desktop Entry]\nType=Application\nName=x\nExec=/bin/true\n");
    EXPECT_EQ(m_entry.status(), Status::NotFound);
}

TEST_F(AutostartEntryTest, HidesAnEntryForAllUsers)
{
    write(m_systemFile, entryText());
    ASSERT_EQ(m_entry.unregisterApplication(), std::nullopt);
    EXPECT_EQ(m_entry.status(), Status::NotRegistered);
    EXPECT_THAT(read(m_file), HasSubstr("\nHidden=true\n"));
    ASSERT_EQ(m_entry.registerApplication(), std::nullopt);
    EXPECT_EQ(m_entry.status(), Status::Enabled);
    ASSERT_EQ(m_entry.unregisterApplication(), std::nullopt);
    EXPECT_EQ(m_entry.status(), Status::NotRegistered);
    EXPECT_EQ(read(m_systemFile), entryText());
}

TEST_F(AutostartEntryTest, HidesNothingWhereNothingWouldStartIt)
{
    write(m_systemFile, entryText("Hidden=true\n"));
    ASSERT_EQ(m_entry.registerApplication(), std::nullopt);
    ASSERT_EQ(m_entry.unregisterApplication(), std::nullopt);
    EXPECT_FALSE(fs::exists(m_file));
    EXPECT_EQ(m_entry.status(), Status::NotRegistered);
}

TEST_F(AutostartEntryTest, TakesTheMostImportantEntryForAllUsers)
{
    write(m_folder.path() / "none" / m_file.filename(), entryText("Hidden=true\n"));
    write(m_systemFile, entryText());
    EXPECT_EQ(m_entry.status(), Status::NotRegistered);
}

TEST_F(AutostartEntryTest, IsSwitchedOnAgainWhenItWasHidden)
{
    write(m_file, entryText("Hidden=true\n"));
    ASSERT_EQ(m_entry.registerApplication(), std::nullopt);
    EXPECT_EQ(m_entry.status(), Status::Enabled);
}

TEST_F(AutostartEntryTest, IsNotFoundWhenItsProgramIsGone)
{
    ASSERT_EQ(m_entry.registerApplication(), std::nullopt);
    fs::remove(m_program);
    EXPECT_EQ(m_entry.status(), Status::NotFound);
    write(m_file, "[Desktop Entry]\nType=Application\nName=Tarnwick\n");
    EXPECT_EQ(m_entry.status(), Status::NotFound);
}

TEST_F(AutostartEntryTest, IsNotFoundWhenItWouldStartAnotherProgram)
{
    const std::string other = makeProgram("older copy").string();
    const std::vector<std::string> others{
        "Exec=/bin/true --login-item\nTryExec=/bin/true\n", "Exec=/nonexistent/tarnwick\n",
        "Exec=\"" + other + "\" --login-item\nTryExec=" + other + "\n",
        "Exec=/bin/echo " + m_program.string() + "\n",
        "Exec=" + m_program.string() + "\nTryExec=/nonexistent/tarnwick\n"};
    for (const std::string &lines : others) {
        write(m_file, "[Desktop Entry]\nType=Application\nName=Mine\nX-Mine=keep\n" + lines);
        EXPECT_EQ(m_entry.status(), Status::NotFound) << lines;
        ASSERT_EQ(m_entry.registerApplication(), std::nullopt);
        EXPECT_EQ(m_entry.status(), Status::Enabled);
        EXPECT_THAT(read(m_file), HasSubstr("\nName=Mine\nX-Mine=keep\n"));
    }
}

TEST_F(AutostartEntryTest, IsEnabledByWhateverNameItsProgramHas)
{
    const fs::path link = m_folder.path() / "a 'link'";
    fs::create_symlink(m_program, link);
    write(m_file, "[Desktop Entry]\nType=Application\nName=Tarnwick\nExec=\"" + link.string() +
                      "\" --login-item\n");
    EXPECT_EQ(m_entry.status(), Status::Enabled);
    const ScopedEnvironment path("PATH", m_folder.path().string());
    write(m_file, "[Desktop Entry]\nType=Application\nName=Tarnwick\nExec=tarnwick\n");
    EXPECT_EQ(m_entry.status(), Status::Enabled);
}

TEST_F(AutostartEntryTest, IsEnabledWhereNoProgramIsRequired)
{
    write(m_file, entryText("TryExec=\n"));
    EXPECT_EQ(m_entry.status(), Status::Enabled);
}

TEST_F(AutostartEntryTest, KeepsCommentsAndUnknownKeys)
{
    write(m_file, "# from my dotfiles\n" + entryText("X-GNOME-Autostart-Delay=5\n# end\n"));
    ASSERT_EQ(m_entry.registerApplication(), std::nullopt);
    const std::string registered = read(m_file);
    EXPECT_THAT(registered, HasSubstr("# from my dotfiles\n[Desktop Entry]\n"));
    EXPECT_THAT(registered, HasSubstr("\nX-GNOME-Autostart-Delay=5\n"));
    EXPECT_THAT(registered, HasSubstr("\n# end\n"));
    ASSERT_EQ(m_entry.unregisterApplication(), std::nullopt);
    EXPECT_EQ(m_entry.status(), Status::NotRegistered);
    EXPECT_THAT(read(m_file), HasSubstr("\nX-GNOME-Autostart-Delay=5\n"));
    EXPECT_THAT(read(m_file), HasSubstr("\nHidden=true\n"));
}

TEST_F(AutostartEntryTest, KeepsWhatOnlyDesktopsRead)
{
    const std::string odd = "Name[de]=T\xe4rnwick\n  # an indented comment\nX-Mine=keep\n";
    write(m_file, entryText(odd));
    EXPECT_EQ(m_entry.status(), Status::Enabled);
    ASSERT_EQ(m_entry.registerApplication(), std::nullopt);
    EXPECT_THAT(read(m_file), HasSubstr("\n" + odd));
    ASSERT_EQ(m_entry.unregisterApplication(), std::nullopt);
    EXPECT_THAT(read(m_file), HasSubstr("\n" + odd));
}

TEST_F(AutostartEntryTest, LeavesAnEntryAloneThatItCannotOpen)
{
    const std::string text = entryText("X-Mine=keep\n");
    write(m_file, text);
    fs::permissions(m_folder.path(), fs::perms(0755));
    fs::permissions(m_autostart, fs::perms(0777));
    fs::permissions(m_file, fs::perms::none);
    {
        const AsOrdinaryUser ordinary;
        EXPECT_EQ(m_entry.status(), Status::NotFound);
        EXPECT_EQ(m_entry.registerApplication(), m_file.string() + ": Permission denied");
        EXPECT_EQ(m_entry.unregisterApplication(), m_file.string() + ": Permission denied");
    }
    fs::permissions(m_file, fs::perms(0644));
    EXPECT_EQ(read(m_file), text);
}

TEST_F(AutostartEntryTest, WaitsForNoWriterOfAPipeInItsPlace)
{
    fs::create_directories(m_autostart);
    ASSERT_EQ(mkfifo(m_file.c_str(), 0644), 0);
    EXPECT_EQ(m_entry.status(), Status::NotFound);
    EXPECT_EQ(m_entry.registerApplication(), m_file.string() + ": Operation not supported");
    EXPECT_EQ(m_entry.unregisterApplication(), m_file.string() + ": Operation not supported");
    EXPECT_TRUE(fs::is_fifo(m_file));
}

TEST_F(AutostartEntryTest, ReplacesADamagedFile)
{
    write(m_file, "\x01\x02 nonsense");
    EXPECT_EQ(m_entry.status(), Status::NotFound);
    EXPECT_EQ(m_entry.registerApplication(), std::nullopt);
    EXPECT_EQ(m_entry.status(), Status::Enabled);
    write(m_file, "\x01\x02 nonsense");
    EXPECT_EQ(m_entry.unregisterApplication(), std::nullopt);
    EXPECT_EQ(m_entry.status(), Status::NotRegistered);
}

TEST_F(AutostartEntryTest, WritesThroughALink)
{
    const fs::path elsewhere = m_folder.path() / "dotfiles.desktop";
    write(elsewhere, entryText("Hidden=true\n"));
    fs::create_directories(m_autostart);
    fs::create_symlink(elsewhere, m_file);
    ASSERT_EQ(m_entry.registerApplication(), std::nullopt);
    EXPECT_TRUE(fs::is_symlink(m_file));
    EXPECT_THAT(read(elsewhere), HasSubstr("--login-item"));
}

TEST_F(AutostartEntryTest, FailsInTheSystemsWordsWhereItMayNotWrite)
{
    ASSERT_EQ(m_entry.registerApplication(), std::nullopt);
    fs::permissions(m_folder.path(), fs::perms(0755));
    fs::permissions(m_autostart, fs::perms(0555));
    {
        const AsOrdinaryUser ordinary;
        EXPECT_THAT(m_entry.registerApplication().value_or(""), EndsWith(": Permission denied"));
        EXPECT_THAT(m_entry.unregisterApplication().value_or(""), EndsWith(": Permission denied"));
        EXPECT_EQ(m_entry.status(), Status::Enabled);
    }
    fs::permissions(m_autostart, fs::perms(0755));
}

TEST_F(AutostartEntryTest, FailsInTheSystemsWordsWhereNoFolderCanBe)
{
    write(m_autostart.parent_path(), "a file");
    EXPECT_THAT(m_entry.registerApplication().value_or(""), EndsWith(": Not a directory"));
}

TEST_F(AutostartEntryTest, RefusesAPathThatNoEntryCanHold)
{
    AutostartEntry entry(m_folders, m_folder.path() / "odd\xff");
    EXPECT_TRUE(entry.registerApplication());
    EXPECT_FALSE(fs::exists(m_file));
}

/// By launcher and path.
class AutostartEntryPathTest
    : public AutostartEntryTest,
      public testing::WithParamInterface<std::tuple<const char *, const char *>>
{
};

TEST_P(AutostartEntryPathTest, IsStartedWithItsArgument)
{
    const fs::path program = makeProgram(std::get<1>(GetParam()) + "/tarnwick"s);
    AutostartEntry entry(m_folders, program);
    ASSERT_EQ(entry.registerApplication(), std::nullopt);
    const std::optional<int> status = launch(std::get<0>(GetParam()), program);
    if (status == notHere) {
        GTEST_SKIP() << std::get<0>(GetParam()) << " is not here";
    }
    ASSERT_EQ(status, 0) << read(m_output) << read(m_file);
    EXPECT_EQ(read(program.string() + ".ran"), "--login-item\n");
    EXPECT_EQ(entry.status(), Status::Enabled);
}

INSTANTIATE_TEST_SUITE_P(
    Paths, AutostartEntryPathTest,
    testing::Combine(testing::Values("glib", "dex", "systemd"),
                     testing::Values("plain", "with blanks  in it", "\"quoted\" 'twice'", "it's",
                                     "back\\slash\\\\es", "$HOME `id`", "100% %f %%", "a=b",
                                     "50%=c", "ends \\", "tab\tand\nline", "ünïcode ☃", "-x: @y",
                                     "non\uFFFEcharacter", "\u2028separated\u0085lines",
                                     "~tilde;&|<>()#*?[]{}!^")));

/// By launcher.
class AutostartEntrySessionTest : public AutostartEntryTest,
                                  public testing::WithParamInterface<const char *>
{
};

TEST_P(AutostartEntrySessionTest, IsEnabledWhereTheSessionStartsIt)
{
    for (const char *const lines :
         {"", "OnlyShowIn=KDE;\n", "OnlyShowIn=XFCE;KDE;\n", "NotShowIn=XFCE;\n",
          "NotShowIn=KDE;GNOME;\n", "Hidden=true\n", "X-GNOME-Autostart-enabled=false\n"}) {
        write(m_file, entryText(lines));
        for (const char *const desktop : {"XFCE", "KDE", "x:XFCE", ""}) {
            const ScopedEnvironment current("XDG_CURRENT_DESKTOP", desktop);
            const std::optional<int> status = launch(GetParam(), m_program);
            if (status == notHere) {
                GTEST_SKIP() << GetParam() << " is not here";
            }
            EXPECT_EQ(m_entry.status() == Status::Enabled, status == 0) << lines << desktop;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Launchers, AutostartEntrySessionTest, testing::Values("glib", "systemd"));

/// A launcher, and the name of a desktop whose session uses it.
class AutostartEntryReaderTest
    : public AutostartEntryTest,
      public testing::WithParamInterface<std::pair<const char *, const char *>>
{
protected:
    ScopedEnvironment m_current{"XDG_CURRENT_DESKTOP", GetParam().second};
};

TEST_P(AutostartEntryReaderTest, ReadsAnEntryAsTheSessionDoes)
{
    const std::string whole = entryText();
    const std::string withoutType = "[Desktop Entry]\n" + whole.substr(whole.find("Name="));
    for (const std::string &text : {whole,
                                    withoutType,
                                    withoutType + "Type=Link\n",
                                    withoutType + "Type=application\n",
                                    whole + "Hidden=True\n",
                                    whole + "Hidden=yes\n",
                                    whole + "Hidden=on\n",
                                    whole + "Hidden=1\n",
                                    whole + "Hidden=0\n",
                                    whole + "Hidden=no\n",
                                    whole + "Hidden=\n",
                                    whole + "Hidden=perhaps\n",
                                    whole + "TryExec=\n",
                                    whole + "X-systemd-skip=true\n",
                                    whole + "X-systemd-skip=FALSE\n",
                                    whole + "X-systemd-skip=\n",
                                    whole + "X-Mine=non\uFFFEcharacter\n",
                                    whole + "X-Mine=\xe4\n",
                                    whole + "# \xe4\n",
                                    whole + "[Mine]\nA=b\n[Desktop Entry]\nHidden=true\n",
                                    whole + "[Mine]\nA=b\n[Desktop Entry]\nType=Link\n"}) {
        write(m_file, text);
        const std::optional<int> status = launch(GetParam().first, m_program);
        if (status == notHere) {
            GTEST_SKIP() << GetParam().first << " is not here";
        }
        EXPECT_EQ(m_entry.status() == Status::Enabled, status == 0) << text << read(m_output);
    }
}

/// Entries that the readers take in different ways.
std::vector<std::string> disputedEntries(const std::string &program, const std::string &desktop)
{
    const std::string header = "[Desktop Entry]\n";
    const std::string type = "Type=Application\n";
    const std::string command = "Name=Tarnwick\nExec=" + program + "\n";
    const std::string whole = header + type + command;
    std::vector<std::string> texts{
        header + "Type=Application \n" + command,
        header + "Type= \tApplication\n" + command,
        header + "Type=Application\\s\n" + command,
        header + "Type=Link\n" + type + command,
        whole + "Type=Link\n",
        header + "Exec=/nonexistent\n" + type + command,
        whole + "Exec=/nonexistent\n",
        header + "Exec=\n" + type + command,
        whole + "TryExec=/nonexistent\nTryExec=" + program + "\n",
        whole + "TryExec=" + program + "\nTryExec=/nonexistent\n",
        whole + "TryExec=\nTryExec=" + program + "\n",
        whole + "TryExec=" + program + " \n",
        whole + "Hidden=true \n",
        whole + "Hidden=true\nHidden=false\n",
        whole + "Hidden=false\nHidden=true\n",
        whole + "Hidden=true\nHidden=perhaps\n",
        whole + "Hidden=perhaps\nHidden=false\n",
        whole + "Path=/nonexistent/folder\n",
        whole + "Path=\n",
        whole + "Path=/\n",
        whole + "; a comment\n",
        whole + "; a = comment\n",
        "; a comment\n" + whole,
        whole + "nonsense\n",
        "nonsense\n" + whole,
        "A=b\n" + whole,
        "[Mine]\nA=b\n" + whole,
        whole + "=b\n",
        whole + "[Mine\n",
        whole + "[]\nHidden=true\n",
        whole + "[Mine] b\n",
        whole + "Name[de=b\n",
        whole + "Name [de]=b\n",
        whole + "Hidden[de]=true\n",
        whole + "Encoding=ISO-8859-1\n",
        whole + "A=b\\\nHidden=true\n",
        whole + "A=b\\\\\nHidden=true\n",
        whole + "# b\\\nHidden=true\n",
        whole + "A=b\\\n# c\nHidden=true\n",
        whole + "A=b\rHidden=true\n",
        whole + "\tHidden\t=\ttrue\r\n",
        "\xef\xbb\xbf" + whole,
        whole + "AutostartCondition=if-exists gone\n",
    };
    for (const std::string value :
         {"", " ", ";", "@", "@ ", " @;", "@ ;", "other; @;", "other\\;@;", "@\\;other;",
          "other;\\s@;", "@\\s;", "@;\\q;", "other;\\q;", "other b;@;", "\\;@", ";;@"}) {
        for (const char *const key : {"OnlyShowIn", "NotShowIn"}) {
            std::string line = key + ("=" + value) + "\n";
            if (const std::size_t at = line.find('@'); at != std::string::npos) {
                line.replace(at, 1, desktop);
            }
            texts.push_back(whole + line);
        }
    }
    for (const char *const key : {"OnlyShowIn=", "NotShowIn="}) {
        texts.push_back(whole + key + desktop + ";\n" + key + "other;\n");
        texts.push_back(whole + key + "other;\n" + key + desktop + ";\n");
        texts.push_back(whole + key + "\n" + key + "other;\n");
        texts.push_back(whole + key + "other;\n" + key + "\n");
    }
    return texts;
}

TEST_P(AutostartEntryReaderTest, ReadsADisputedEntryAsTheSessionDoes)
{
    for (const std::string &text : disputedEntries(m_program.string(), GetParam().second)) {
        write(m_file, text);
        const std::optional<int> status = launch(GetParam().first, m_program);
        if (status == notHere) {
            GTEST_SKIP() << GetParam().first << " is not here";
        }
        EXPECT_EQ(m_entry.status() == Status::Enabled, status == 0) << text << read(m_output);
    }
}

TEST_P(AutostartEntryReaderTest, WritesAnEntryThatEveryReaderStarts)
{
    std::set<std::string> seen;
    for (const std::string &text : disputedEntries(m_program.string(), GetParam().second)) {
        write(m_file, text);
        ASSERT_EQ(m_entry.registerApplication(), std::nullopt) << text;
        EXPECT_EQ(m_entry.status(), Status::Enabled) << text << "becomes\n" << read(m_file);
        if (!seen.insert(read(m_file)).second) {
            continue;
        }
        for (const char *const launcher : {"glib", "dex", "systemd"}) {
            const std::optional<int> status = launch(launcher, m_program);
            EXPECT_TRUE(status == 0 || status == notHere) << launcher << '\n'
                                                          << text << "becomes\n"
                                                          << read(m_file) << read(m_output);
        }
        ASSERT_EQ(m_entry.unregisterApplication(), std::nullopt) << text;
        EXPECT_NE(m_entry.status(), Status::Enabled) << text << "becomes\n" << read(m_file);
    }
}

TEST_F(AutostartEntryTest, KeepsWhatIsNotForEveryReader)
{
    write(m_file, entryText("; from my dotfiles\nX-Mine=keep\n"));
    const ScopedEnvironment desktop("XDG_CURRENT_DESKTOP", "KDE");
    EXPECT_EQ(m_entry.status(), Status::Enabled);
    ASSERT_EQ(m_entry.unregisterApplication(), std::nullopt);
    EXPECT_EQ(m_entry.status(), Status::NotRegistered);
    EXPECT_THAT(read(m_file), HasSubstr("\n#; from my dotfiles\nX-Mine=keep\n"));
}

TEST_P(AutostartEntryReaderTest, RepairsAnEntryThatTheSessionDoesNotStart)
{
    const std::string mine = "[Desktop Entry]\nName=Mine\nX-Mine=keep\n";
    for (const std::string &lines :
         {"Type=Link\n"s, "Hidden=yes\n"s, "X-systemd-skip=true\n"s, "TryExec=\n"s,
          "X-GNOME-Autostart-Phase=Applications\n"s, "Exec=" + m_program.string() + "\n"}) {
        write(m_file, mine + lines);
        ASSERT_EQ(m_entry.registerApplication(), std::nullopt);
        EXPECT_EQ(m_entry.status(), Status::Enabled) << lines;
        EXPECT_THAT(read(m_file), StartsWith(mine));
        EXPECT_THAT(read(m_file), HasSubstr("--login-item\n"));
        const std::optional<int> status = launch(GetParam().first, m_program);
        if (status == notHere) {
            GTEST_SKIP() << GetParam().first << " is not here";
        }
        EXPECT_EQ(status, 0) << read(m_file);
    }
}

INSTANTIATE_TEST_SUITE_P(Sessions, AutostartEntryReaderTest,
                         testing::Values(std::pair("glib", "XFCE"), std::pair("systemd", "KDE")),
                         [](const auto &session) { return std::string(session.param.first); });

TEST_F(AutostartEntryTest, RefusesToWriteAnEntryThatSystemdWouldNotRead)
{
    const std::string text = entryText("X-Mine=\uFDD0\n");
    write(m_file, text);
    const ScopedEnvironment desktop("XDG_CURRENT_DESKTOP", "KDE");
    EXPECT_THAT(m_entry.registerApplication().value_or(""), StartsWith(m_file.string() + ": "));
    EXPECT_EQ(read(m_file), text);
    const ScopedEnvironment other("XDG_CURRENT_DESKTOP", "XFCE");
    EXPECT_EQ(m_entry.registerApplication(), std::nullopt);
}

TEST(LoginItem, OfThisApplicationLiesInTheUsersAutostartFolder)
{
    const TemporaryFolder folder;
    const ScopedEnvironment home("XDG_CONFIG_HOME", folder.path().string());
    ASSERT_EQ(LoginItem::ofThisApplication()->registerApplication(), std::nullopt);
    EXPECT_THAT(read(folder.path() / "autostart" / "com.velmora.tarnwick.desktop"),
                HasSubstr("Exec=\"" + fs::read_symlink("/proc/self/exe").string() + "\" --login"));
}

} // namespace
} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/DesktopEntry.h"

#include "Platform/linux/EntryKeys.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>

namespace Tarnwick {
namespace {

DesktopEntry parsed(const QByteArray &text)
{
    return DesktopEntry::parse(text).value();
}

TEST(DesktopEntry, TakesAGroupThatStandsTwiceForOne)
{
    DesktopEntry entry = parsed("[Desktop Entry]\nHidden=false\n[Other]\nHidden=mine\n"
                                "[Desktop Entry]\nHidden=true\nExec=x\n");
    entry.set("Hidden", "false");
    EXPECT_EQ(entry.text(), "[Desktop Entry]\nHidden=false\n[Other]\nHidden=mine\n"
                            "[Desktop Entry]\nExec=x\n");
    entry.remove("Exec");
    entry.set("Name", "y");
    EXPECT_EQ(entry.text(), "[Desktop Entry]\nHidden=false\nName=y\n[Other]\nHidden=mine\n"
                            "[Desktop Entry]\n");
}

TEST(DesktopEntry, EscapesWhatEntryKeysUnescape)
{
    const QByteArray odd = " a\\b\tc\nd\re\\s f";
    DesktopEntry entry;
    entry.set("Name", odd);
    EXPECT_EQ(entry.text(), "[Desktop Entry]\nName=\\sa\\\\b\\tc\\nd\\re\\\\s f\n");
    entry.setList("OnlyShowIn", {"a;b", " c\\"});
    EXPECT_EQ(entry.text(), "[Desktop Entry]\nName=\\sa\\\\b\\tc\\nd\\re\\\\s f\n"
                            "OnlyShowIn=a\\;b;\\sc\\\\;\n");
    for (const EntryReader reader : {EntryReader::GLib, EntryReader::Systemd}) {
        const EntryKeys keys = EntryKeys::read(entry.text(), reader).value();
        EXPECT_EQ(keys.string("Name"), odd);
        EXPECT_EQ(keys.list("OnlyShowIn"), (QList<QByteArray>{"a;b", " c\\"}));
    }
}

TEST(DesktopEntry, ChangesOneLineAndKeepsTheRest)
{
    DesktopEntry entry = parsed("# mine\n[Desktop Entry]\nExec=old\nX-Other=1\nExec=older\n# "
                                "end\n\n[Action]\nExec=stays\n");
    entry.set("Exec", "new");
    entry.set("TryExec", "program");
    entry.remove("X-Other");
    EXPECT_EQ(entry.text(), "# mine\n[Desktop Entry]\nExec=new\nTryExec=program\n# end\n\n"
                            "[Action]\nExec=stays\n");
}

TEST(DesktopEntry, MindsNoBlanksBeforeALine)
{
    const QByteArray text = "\t# first\n  [Desktop Entry]\n  # no assignment\n \n\tExec = old\n"
                            "  Hidden=true\n [Other]\n  Exec=x\n";
    DesktopEntry entry = parsed(text);
    EXPECT_EQ(entry.text(), text);
    entry.set("Exec", "new");
    entry.remove("Hidden");
    EXPECT_EQ(entry.text(), "\t# first\n  [Desktop Entry]\n  # no assignment\n \nExec=new\n"
                            " [Other]\n  Exec=x\n");
}

TEST(DesktopEntry, KeepsLinesOfAnyEncoding)
{
    const QByteArray text = "# Schl\xfcssel\n[Desktop Entry]\nName=Tarnwick\nName[de]=T\xe4rnwick\n"
                            "Exec=\xff\xfe\n[\xfc]\n\xfc=\xfc\n";
    DesktopEntry entry = parsed(text);
    EXPECT_EQ(entry.text(), text);
    entry.set("Exec", "new");
    EXPECT_EQ(entry.text(), "# Schl\xfcssel\n[Desktop Entry]\nName=Tarnwick\nName[de]=T\xe4rnwick\n"
                            "Exec=new\n[\xfc]\n\xfc=\xfc\n");
}

/// A text, and what it is once only lines are left that all desktops take for the same.
struct Mended
{
    const char *text;
    const char *mended;
};

void PrintTo(const Mended &one, std::ostream *stream)
{
    *stream << testing::PrintToString(one.text);
}

class DesktopEntryLineTest : public testing::TestWithParam<Mended>
{
};

TEST_P(DesktopEntryLineTest, IsACommentWhereDesktopsDisagreeAboutIt)
{
    const DesktopEntry entry = parsed(GetParam().text);
    EXPECT_EQ(entry.text(), GetParam().mended);
    for (const EntryReader reader : {EntryReader::GLib, EntryReader::Systemd}) {
        const std::optional<EntryKeys> keys = EntryKeys::read(entry.text(), reader);
        ASSERT_TRUE(keys);
        EXPECT_EQ(keys->string("A"), "b");
        EXPECT_FALSE(keys->contains("Hidden"));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Lines, DesktopEntryLineTest,
    testing::Values(
        Mended{"[Desktop Entry]\n; mine\nA=b\n", "[Desktop Entry]\n#; mine\nA=b\n"},
        Mended{"[Desktop Entry]\n;a=b\nA=b\n", "[Desktop Entry]\n;a=b\nA=b\n"},
        Mended{"[Desktop Entry]\nnonsense\nA=b\n", "[Desktop Entry]\n#nonsense\nA=b\n"},
        Mended{"[Desktop Entry]\n  =x\nA=b\n", "[Desktop Entry]\n#  =x\nA=b\n"},
        Mended{"[Desktop Entry]\nA=b\nName[=x\n", "[Desktop Entry]\nA=b\n#Name[=x\n"},
        Mended{"[Desktop Entry]\nA=b\nName [de]=x\n", "[Desktop Entry]\nA=b\n#Name [de]=x\n"},
        Mended{"[Desktop Entry]\nA=b\nEncoding=latin1\n",
               "[Desktop Entry]\nA=b\n#Encoding=latin1\n"},
        Mended{"[Desktop Entry]\nB=\\\nA=b\n", "[Desktop Entry]\n#B=\\\nA=b\n"},
        Mended{"[Desktop Entry]\nB=\\\\\nA=b\n", "[Desktop Entry]\nB=\\\\\nA=b\n"},
        Mended{"[Desktop Entry]\r\nB=c\rHidden=true\r\nA=b\r\n",
               "[Desktop Entry]\r\nB=c\\rHidden=true\r\nA=b\r\n"},
        Mended{"; first\nB=c\n[Other]\nHidden=true\n[Desktop Entry]\nA=b\n",
               "#; first\n#B=c\n#[Other]\n#Hidden=true\n[Desktop Entry]\nA=b\n"},
        Mended{"[Desktop Entry]\nA=b\n[Other\nHidden=true\n# why\n[Mine]\nB=c\n",
               "[Desktop Entry]\nA=b\n#[Other\n#Hidden=true\n# why\n[Mine]\nB=c\n"},
        Mended{"[Desktop Entry]\nA=b\n[]\nHidden=true\n",
               "[Desktop Entry]\nA=b\n#[]\n#Hidden=true\n"},
        Mended{"\xef\xbb\xbf[Desktop Entry]\nA=b\n", "[Desktop Entry]\nA=b\n"},
        Mended{"[Desktop Entry]\n\fHidden=true\nA=b\n", "[Desktop Entry]\n#\fHidden=true\nA=b\n"}));

TEST(DesktopEntry, KnowsWhetherThereIsMoreInItThanSomeKeys)
{
    EXPECT_FALSE(parsed("[Desktop Entry]\nA=1\n\nB=2\n").hasMoreThan({"A", "B"}));
    EXPECT_TRUE(parsed("[Desktop Entry]\nA=1\nC=2\n").hasMoreThan({"A", "B"}));
    EXPECT_TRUE(parsed("[Desktop Entry]\n# why\nA=1\n").hasMoreThan({"A", "B"}));
    EXPECT_TRUE(parsed("[Desktop Entry]\nA=1\n[Other]\n").hasMoreThan({"A", "B"}));
}

TEST(DesktopEntry, IsNothingWithoutItsGroup)
{
    EXPECT_FALSE(DesktopEntry::parse(""));
    EXPECT_FALSE(DesktopEntry::parse("# only a comment\n"));
    EXPECT_FALSE(DesktopEntry::parse("Exec=x\n[Desktop Entry\n"));
    EXPECT_FALSE(DesktopEntry::parse("[Other]\n"));
    EXPECT_FALSE(DesktopEntry::parse("\f[Desktop Entry]\nA=b\n"));
    EXPECT_FALSE(DesktopEntry::parse(QByteArray("[Desktop Entry]\nName=a\0b\n", 25)));
}

TEST(DesktopEntry, FindsTheProgramOfACommand)
{
    const QByteArray odd = R"(/opt/a "b`c$d\e)";
    EXPECT_EQ(DesktopEntry::program(DesktopEntry::quotedArgument(odd) + " --login-item"), odd);
    EXPECT_EQ(DesktopEntry::program("  tarnwick\t--login-item"), "tarnwick");
    EXPECT_EQ(DesktopEntry::program("'/opt/a \\b'\" c\"\\ d e"), "/opt/a \\b c d");
    EXPECT_EQ(DesktopEntry::program("\"never closed"), "");
    EXPECT_EQ(DesktopEntry::program(" "), "");
}

TEST(DesktopEntry, QuotesAnArgument)
{
    EXPECT_EQ(DesktopEntry::quotedArgument("/opt/a b"), "\"/opt/a b\"");
    EXPECT_EQ(DesktopEntry::quotedArgument(R"(a"b`c$d\e%f)"), R"("a\"b\`c\$d\\e%%f")");
}

} // namespace
} // namespace Tarnwick

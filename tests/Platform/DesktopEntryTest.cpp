// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/DesktopEntry.h"

#include <gtest/gtest.h>

namespace Tarnwick {
namespace {

DesktopEntry parsed(const QByteArray &text)
{
    return DesktopEntry::parse(text).value();
}

TEST(DesktopEntry, TellsTheValueOfAKeyOfItsOwnGroup)
{
    const DesktopEntry entry =
        parsed("# first\n[Desktop Entry]\nName = Tarnwick \nName[de]=Anders\n\n[Other]\nExec=x\n");
    EXPECT_EQ(entry.value("Name"), "Tarnwick");
    EXPECT_EQ(entry.value("Exec"), std::nullopt);
}

TEST(DesktopEntry, TellsTheLastOfSeveralValues)
{
    EXPECT_EQ(parsed("[Desktop Entry]\nHidden=true\nHidden=false\n").value("Hidden"), "false");
}

TEST(DesktopEntry, TakesAGroupThatStandsTwiceForOne)
{
    DesktopEntry entry = parsed("[Desktop Entry]\nHidden=false\n[Other]\nHidden=mine\n"
                                "[Desktop Entry]\nHidden=true\nExec=x\n");
    EXPECT_EQ(entry.value("Hidden"), "true");
    EXPECT_EQ(entry.value("Exec"), "x");
    entry.set("Hidden", "false");
    EXPECT_EQ(entry.value("Hidden"), "false");
    EXPECT_EQ(entry.text(), "[Desktop Entry]\nHidden=false\n[Other]\nHidden=mine\n"
                            "[Desktop Entry]\nExec=x\n");
    entry.remove("Exec");
    entry.set("Name", "y");
    EXPECT_EQ(entry.text(), "[Desktop Entry]\nHidden=false\nName=y\n[Other]\nHidden=mine\n"
                            "[Desktop Entry]\n");
}

TEST(DesktopEntry, KnowsTruthValues)
{
    const DesktopEntry entry = parsed("[Desktop Entry]\nA=true\nB=false\nC=1\nD=0\nE=True\r\n");
    EXPECT_TRUE(entry.is("A", true));
    EXPECT_TRUE(entry.is("B", false));
    EXPECT_TRUE(entry.is("C", true));
    EXPECT_TRUE(entry.is("D", false));
    EXPECT_FALSE(entry.is("E", true));
    EXPECT_FALSE(entry.is("E", false));
    EXPECT_FALSE(entry.is("missing", false));
}

TEST(DesktopEntry, UnescapesWhatItEscapes)
{
    const QByteArray odd = " a\\b\tc\nd\re\\s f";
    DesktopEntry entry;
    entry.set("Name", odd);
    EXPECT_EQ(entry.text(), "[Desktop Entry]\nName=\\sa\\\\b\\tc\\nd\\re\\\\s f\n");
    EXPECT_EQ(parsed(entry.text()).value("Name"), odd);
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
    EXPECT_EQ(entry.value("Exec"), "old");
    entry.set("Exec", "new");
    entry.remove("Hidden");
    EXPECT_EQ(entry.text(), "\t# first\n  [Desktop Entry]\n  # no assignment\n \nExec=new\n"
                            " [Other]\n  Exec=x\n");
}

TEST(DesktopEntry, DemandsItsEncodingOnlyOfTheValuesThatAreAskedFor)
{
    const QByteArray text = "# Schl\xfcssel\n[Desktop Entry]\nName=Tarnwick\nName[de]=T\xe4rnwick\n"
                            "Exec=\xff\xfe\n[\xfc]\n\xfc=\xfc\n";
    DesktopEntry entry = parsed(text);
    EXPECT_EQ(entry.text(), text);
    EXPECT_EQ(entry.value("Name"), "Tarnwick");
    EXPECT_EQ(entry.value("Name[de]"), std::nullopt);
    EXPECT_EQ(entry.value("Exec"), std::nullopt);
    entry.set("Exec", "new");
    EXPECT_EQ(entry.text(), "# Schl\xfcssel\n[Desktop Entry]\nName=Tarnwick\nName[de]=T\xe4rnwick\n"
                            "Exec=new\n[\xfc]\n\xfc=\xfc\n");
}

TEST(DesktopEntry, KnowsWhetherSystemdReadsIt)
{
    for (const char *const lines :
         {"Name=T\u00e4rnwick\n", "# \xe4\n", " ; a=\xe4\n", "Name=\U0001F600\uFFFD\n"}) {
        EXPECT_TRUE(parsed("[Desktop Entry]\n" + QByteArray(lines)).isReadBySystemd()) << lines;
    }
    for (const char *const lines :
         {"Name=T\xe4rnwick\n", "X-\uFDD0=1\n", "Name=\uFDEF\n", "Name=\U0001FFFE\n",
          "Name=\U0010FFFF\n", "[Other]\nName=\uFFFF\n"}) {
        EXPECT_FALSE(parsed("[Desktop Entry]\n" + QByteArray(lines)).isReadBySystemd()) << lines;
    }
}

TEST(DesktopEntry, KnowsWhetherThereIsMoreInItThanSomeKeys)
{
    EXPECT_FALSE(parsed("[Desktop Entry]\nA=1\n\nB=2\n").hasMoreThan({"A", "B"}));
    EXPECT_TRUE(parsed("[Desktop Entry]\nA=1\nC=2\n").hasMoreThan({"A", "B"}));
    EXPECT_TRUE(parsed("[Desktop Entry]\n# why\nA=1\n").hasMoreThan({"A", "B"}));
    EXPECT_TRUE(parsed("[Desktop Entry]\nA=1\n[Other]\n").hasMoreThan({"A", "B"}));
}

TEST(DesktopEntry, IsNothingThatNoDesktopWouldRead)
{
    EXPECT_FALSE(DesktopEntry::parse(""));
    EXPECT_FALSE(DesktopEntry::parse("# only a comment\n"));
    EXPECT_FALSE(DesktopEntry::parse("Exec=x\n[Desktop Entry]\n"));
    EXPECT_FALSE(DesktopEntry::parse("[Other]\n[Desktop Entry]\n"));
    EXPECT_FALSE(DesktopEntry::parse("[Desktop Entry]\nnonsense\n"));
    EXPECT_FALSE(DesktopEntry::parse("[Desktop Entry]\n  =x\n"));
    EXPECT_FALSE(DesktopEntry::parse("[Desktop Entry]\n [Other\n"));
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

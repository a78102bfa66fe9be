// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/EntryKeys.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>

namespace Tarnwick {
namespace {

constexpr EntryReader glib = EntryReader::GLib;
constexpr EntryReader systemd = EntryReader::Systemd;

std::optional<EntryKeys> read(const QByteArray &lines, EntryReader reader)
{
    return EntryKeys::read("[Desktop Entry]\n" + lines, reader);
}

TEST(EntryKeys, AreThoseOfTheirOwnGroup)
{
    for (const EntryReader reader : {glib, systemd}) {
        const EntryKeys keys =
            EntryKeys::read("# first\n[Desktop Entry]\n Name = Tarnwick\nName[de]=Anders\n\n"
                            "[Other]\nExec=x\n[Desktop Entry]\nTryExec=y\n",
                            reader)
                .value();
        EXPECT_EQ(keys.string("Name"), "Tarnwick");
        EXPECT_EQ(keys.string("Exec"), std::nullopt);
        EXPECT_EQ(keys.string("TryExec"), "y");
    }
}

TEST(EntryKeys, AreReadDifferentlyWhereTheyStandTwice)
{
    const QByteArray lines = "Type=a\nType=b\nHidden=true\nHidden=false\nOnlyShowIn=c;\n"
                             "OnlyShowIn=d;\n";
    const EntryKeys byGlib = read(lines, glib).value();
    EXPECT_EQ(byGlib.string("Type"), "b");
    EXPECT_FALSE(byGlib.isTrue("Hidden"));
    EXPECT_EQ(byGlib.list("OnlyShowIn"), QList<QByteArray>{"d"});
    const EntryKeys bySystemd = read(lines, systemd).value();
    EXPECT_EQ(bySystemd.string("Type"), "a");
    EXPECT_FALSE(bySystemd.isTrue("Hidden"));
    EXPECT_EQ(bySystemd.list("OnlyShowIn"), QList<QByteArray>{"c"});
}

TEST(EntryKeys, KnowTruthValues)
{
    const QByteArray lines = "A=true\nB=false\nC=1 \nD=0\nE=True\r\nF=on\n";
    const EntryKeys byGlib = read(lines, glib).value();
    const EntryKeys bySystemd = read(lines, systemd).value();
    for (const char *const key : {"A", "C"}) {
        EXPECT_TRUE(byGlib.isTrue(key)) << key;
        EXPECT_TRUE(bySystemd.isTrue(key)) << key;
    }
    for (const char *const key : {"B", "D", "missing"}) {
        EXPECT_FALSE(byGlib.isTrue(key)) << key;
        EXPECT_FALSE(bySystemd.isTrue(key)) << key;
    }
    for (const char *const key : {"E", "F"}) {
        EXPECT_FALSE(byGlib.isTrue(key)) << key;
        EXPECT_TRUE(bySystemd.isTrue(key)) << key;
    }
}

TEST(EntryKeys, KeepBlanksAtAnEndForGlibOnly)
{
    const QByteArray lines = "Type= a \nOnlyShowIn= a;b \n";
    EXPECT_EQ(read(lines, glib)->string("Type"), "a ");
    EXPECT_EQ(read(lines, glib)->list("OnlyShowIn"), (QList<QByteArray>{"a", "b "}));
    EXPECT_EQ(read(lines, systemd)->string("Type"), "a");
    EXPECT_EQ(read(lines, systemd)->list("OnlyShowIn"), (QList<QByteArray>{"a", "b"}));
}

TEST(EntryKeys, HaveNoTextWithAnUnknownEscapeSequence)
{
    for (const char *const line : {"Exec=/a\\ b\n", "Exec=/a\\qb\n"}) {
        EXPECT_EQ(read(line, glib)->string("Exec"), std::nullopt) << line;
        EXPECT_EQ(read(line, glib)->list("Exec"), std::nullopt) << line;
        EXPECT_FALSE(read(line, systemd)) << line;
    }
}

TEST(EntryKeys, HaveNoTextOfAnotherEncoding)
{
    const std::optional<EntryKeys> keys = read("Name[de]=T\xe4rnwick\nExec=\xff\xfe\n", glib);
    ASSERT_TRUE(keys);
    EXPECT_EQ(keys->string("Name[de]"), std::nullopt);
    EXPECT_EQ(keys->string("Exec"), std::nullopt);
    EXPECT_EQ(keys->list("Exec"), std::nullopt);
}

TEST(EntryKeys, AreNoneForSystemdInAFileWithTextThatItRefuses)
{
    for (const char *const lines :
         {"Name=T\u00e4rnwick\n", "# \xe4\n", " ; a=\xe4\n", "Name=\U0001F600\uFFFD\n"}) {
        EXPECT_TRUE(read(lines, systemd)) << lines;
    }
    for (const char *const lines :
         {"Name=T\xe4rnwick\n", "X-\uFDD0=1\n", "Name=\uFDEF\n", "Name=\U0001FFFE\n",
          "Name=\U0010FFFF\n", "[Other]\nName=\uFFFF\n"}) {
        EXPECT_FALSE(read(lines, systemd)) << lines;
    }
}

} // namespace
} // namespace Tarnwick

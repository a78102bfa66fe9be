// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/PortableManifest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace Tarnwick {
namespace {

using testing::ElementsAre;

const std::string header = "tarnwick-portable 1\n";

TEST(PortableManifest, ListsFilesWithTheirModes)
{
    const std::string text = header + "755 bin/tarnwick\n644 share/a file, of sorts\n644 -x\n";
    const auto manifest = PortableManifest::parse(text);
    ASSERT_TRUE(manifest);
    EXPECT_THAT(manifest->files, ElementsAre(PortableFile{"bin/tarnwick", true},
                                             PortableFile{"share/a file, of sorts", false},
                                             PortableFile{"-x", false}));
    EXPECT_EQ(manifest->files.front().mode(), 0755U);
    EXPECT_EQ(manifest->files.back().mode(), 0644U);
    EXPECT_EQ(manifest->text(), text);
}

TEST(PortableManifest, MayListNothing)
{
    ASSERT_TRUE(PortableManifest::parse(header));
    EXPECT_TRUE(PortableManifest::parse(header)->files.empty());
}

TEST(PortableManifest, IsNoOtherText)
{
    for (const char *const text :
         {"", "\n", "tarnwick-portable 2\n", "755 bin/tarnwick\n", "#!/bin/sh\n"}) {
        EXPECT_FALSE(PortableManifest::parse(text)) << text;
    }
    EXPECT_FALSE(PortableManifest::parse(header + "755 a\n\n755 b\n"));
    EXPECT_FALSE(PortableManifest::parse(header + "755 a\n644 a\n")) << "listed twice";
}

TEST(PortableManifest, IsBounded)
{
    std::string text = header;
    for (std::size_t count = 0; count < PortableManifest::maxFiles; ++count) {
        text += "644 " + std::to_string(count) + '\n';
    }
    EXPECT_TRUE(PortableManifest::parse(text));
    std::string problem;
    EXPECT_FALSE(PortableManifest::parse(text + "644 more\n", &problem));
    EXPECT_EQ(problem, "line 10002: more than 10000 files");
}

TEST(PortableManifest, IsReadAsFarAsItWasWritten)
{
    for (const char *const rest : {"", "7", "755 b", "644 ../b\n644 c\n"}) {
        const auto manifest = PortableManifest::parseUnfinished(header + "755 a\n" + rest);
        ASSERT_TRUE(manifest) << rest;
        EXPECT_THAT(manifest->files, ElementsAre(PortableFile{"a", true})) << rest;
    }
    EXPECT_FALSE(PortableManifest::parseUnfinished(""));
    EXPECT_FALSE(PortableManifest::parseUnfinished("tarnwick-portable 1"));
    EXPECT_FALSE(PortableManifest::parseUnfinished("letter\n755 a\n"));
}

TEST(PortableFile, HasOneOfTwoModes)
{
    for (const char *const line : {"4755 a", "777 a", "0755 a", "755", "755a", "a", " 755 a"}) {
        EXPECT_FALSE(PortableFile::parse(line)) << line;
    }
}

TEST(PortableFile, LiesInTheFolder)
{
    for (const char *const path :
         {"", "/", "/etc/passwd", ".", "..", "../a", "a/..", "a/../b", "a//b", "a/", "./a", "a/./b",
          ".tarnwick-portable", "a\tb", "a\x7f"}) {
        EXPECT_FALSE(PortableFile::parse(std::string("644 ") + path)) << path;
    }
    EXPECT_FALSE(PortableFile::parse("644 " + std::string(256, 'a')));
    EXPECT_FALSE(PortableFile::parse(std::string("644 a\0b", 7)));
    std::string deep = "644 ";
    for (int count = 1; count < 32; ++count) {
        deep += "a/";
    }
    EXPECT_TRUE(PortableFile::parse(deep + 'a'));
    EXPECT_FALSE(PortableFile::parse(deep + "a/a"));
    EXPECT_TRUE(PortableFile::parse("644 a/.tarnwick-portable"));
    EXPECT_TRUE(PortableFile::parse("644 ..."));
}

} // namespace
} // namespace Tarnwick

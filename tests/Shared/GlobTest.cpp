// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/Glob.h"
#include "Shared/GlobList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {
namespace {

using Subject = Glob::Subject;

std::vector<Glob> compiled(std::string_view pattern, Subject subject)
{
    Glob::Compiled result = Glob::compile(pattern, subject);
    const auto *const problem = std::get_if<std::string>(&result);
    EXPECT_EQ(problem, nullptr) << pattern << ": " << (problem != nullptr ? *problem : "");
    return problem == nullptr ? std::get<std::vector<Glob>>(std::move(result))
                              : std::vector<Glob>();
}

bool matches(std::string_view pattern, Subject subject, std::string_view text)
{
    const std::vector<Glob> globs = compiled(pattern, subject);
    return std::any_of(globs.begin(), globs.end(),
                       [text](const Glob &glob) { return glob.matches(text); });
}

std::string problemWith(std::string_view pattern)
{
    const Glob::Compiled result = Glob::compile(pattern, Subject::Path);
    const auto *const problem = std::get_if<std::string>(&result);
    return problem != nullptr ? *problem : "";
}

struct Case
{
    std::string_view pattern;
    std::string_view text;
    bool matches;
};

void check(Subject subject, const std::vector<Case> &cases)
{
    for (const Case &each : cases) {
        EXPECT_EQ(matches(each.pattern, subject, each.text), each.matches)
            << each.pattern << " and " << each.text;
    }
}

/// Processor time of this thread.
std::chrono::nanoseconds threadTime()
{
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

} // namespace

TEST(Glob, MatchesTheWholeTextLetterByLetter)
{
    check(Subject::Path, {{"/usr/bin/node", "/usr/bin/node", true},
                          {"/usr/bin/node", "/usr/bin/nodejs", false},
                          {"/usr/bin/node", "/opt/usr/bin/node", false},
                          {"/usr/bin/node", "/usr/bin/Node", false},
                          {"/usr/bin/node", "", false}});
}

TEST(Glob, HasAStarThatStaysWithinAComponentOfAPath)
{
    check(Subject::Path, {{"/usr/bin/python3*", "/usr/bin/python3.11", true},
                          {"/usr/bin/python3*", "/usr/bin/python3", true},
                          {"/usr/bin/*", "/usr/bin/a/b", false},
                          {"/usr/*/postgres", "/usr/lib/postgres", true},
                          {"/usr/*/postgres", "/usr/lib/15/postgres", false},
                          {"*.d", "/a.d", false},
                          {"/*a*b/c", "/xaxaxb/c", true},
                          {"/*a*b/c", "/xaxax/b/c", false},
                          {"/**/*a*/x", "/a/b/ba/x", true},
                          {"/home/*/.*/bin/**", "/home/ada/.volta/bin/node", true},
                          {"/*/*/*b", "/a/b/cbcb", true},
                          {"/*", "/", true}});
}

TEST(Glob, HasTwoStarsThatGoAcrossComponents)
{
    check(Subject::Path, {{"/opt/**", "/opt/a/b/c", true},
                          {"/opt/**", "/opt/", true},
                          {"/opt/**", "/opt", true},
                          {"/opt/**", "/option", false},
                          {"/**", "/", true},
                          {"/**", "/a", true},
                          {"**", "/a/b", true},
                          {"**/.venv/bin/*", "/home/ada/shop/.venv/bin/python", true},
                          {"**/.venv/bin/*", ".venv/bin/python", true},
                          {"**/.venv/bin/*", "/home/ada/my.venv/bin/python", false},
                          {"/a/**/b", "/a/b", true},
                          {"/a/**/b", "/a/x/y/b", true},
                          {"/a/**/b", "/a/xb", false},
                          {"/a/**/b/**/c", "/a/b/x/b/y/c", true},
                          {"/a**z", "/a/b/z", true},
                          {"/a**z", "/az", true},
                          {"**/target/debug/**", "/w/target/x/target/debug/deps/t", true},
                          {"/a/***/b", "/a/x/b", true},
                          {"**/**/*", "b", true},
                          {"/a/**/**", "/a/b", true}});
}

TEST(Glob, HasNoComponentsInATextThatIsNoPath)
{
    check(Subject::Text, {{"node *vite*", "node /home/ada/node_modules/.bin/vite --port 1", true},
                          {"*", "a/b", true},
                          {"a?b", "a/b", true},
                          {"a[/]b", "a/b", true},
                          {"a**b", "a/c/b", true},
                          {"* -m http.server*", "python3 -m http.server 8000", true},
                          {"* -m http.server*", "python3 -m http", false},
                          {"*a*", "b", false},
                          {"aXb*aXb", "aXb", false},
                          {"a*a", "a", false},
                          {"*.service", "nginx.service", true},
                          {"*abc", "ababcabc", true},
                          {"*ab?", "abaabc", true}});
}

TEST(Glob, HasCharactersAndClasses)
{
    check(Subject::Path, {{"/opt/?", "/opt/a", true},
                          {"/opt/?", "/opt/ab", false},
                          {"/opt?", "/opt/", false},
                          {"/opt/?", "/opt/\u00e9", true},
                          {"/opt/*?", "/opt/\u20ac\u00e9", true},
                          {"/lib[36]", "/lib3", true},
                          {"/lib[0-9]", "/lib6", true},
                          {"/lib[!0-9]", "/lib6", false},
                          {"/lib[^0-9]", "/libx", true},
                          {"/lib[^0-9]", "/lib/", false},
                          {"/lib[]x]", "/lib]", true},
                          {"/lib[!]]", "/lib]", false},
                          {"/[\u00e0-\u00ff]", "/\u00e9", true},
                          {"/[\\]a]", "/]", true},
                          {"/[a-]", "/-", true}});
}

TEST(Glob, HasAlternativesInBraces)
{
    check(Subject::Path, {{"/usr/{bin,sbin}/x", "/usr/sbin/x", true},
                          {"/usr/{bin,sbin}/x", "/usr/lib/x", false},
                          {"/{a,b{c,d}}/{e,}", "/bd/", true},
                          {"/{a,b{c,d}}/{e,}", "/bc/e", true},
                          {"/{a,b{c,d}}/{e,}", "/b/e", false},
                          {"/{a}", "/a", true},
                          {"/[{]a,b}", "/{a,b}", true},
                          {"/a,b}", "/a,b}", true}});
}

TEST(Glob, TakesEscapedCharactersAsTheyAre)
{
    check(Subject::Path, {{R"(/a\*)", "/a*", true},
                          {R"(/a\*)", "/ab", false},
                          {R"(/\{a,b\})", "/{a,b}", true},
                          {R"(/a\\b)", R"(/a\b)", true},
                          {R"(/a\?\[)", "/a?[", true}});
}

TEST(Glob, TakesTextsThatAreNoUtf8)
{
    EXPECT_TRUE(matches("/a*z", Subject::Path, "/a\xff\x80z"));
    EXPECT_TRUE(matches("/a??z", Subject::Path, "/a\xff\xffz"));
    EXPECT_FALSE(matches("/[\u00e9]", Subject::Path, "/\xc3"));
}

TEST(Glob, SaysWhatIsWrongWithAPattern)
{
    EXPECT_EQ(problemWith(""), "an empty pattern");
    EXPECT_EQ(problemWith("/a[b"), "'[' without ']'");
    EXPECT_EQ(problemWith("/a[]"), "'[' without ']'");
    EXPECT_EQ(problemWith("/a[\\"), "'[' without ']'");
    EXPECT_EQ(problemWith("/{a,b"), "'{' without '}'");
    EXPECT_EQ(problemWith("/{a,{b}"), "'{' without '}'");
    EXPECT_EQ(problemWith("/a\\"), "a backslash at the end");
    EXPECT_EQ(problemWith(std::string(513, 'a')), "a pattern of more than 512 bytes");
    EXPECT_EQ(problemWith("/{a,b}{a,b}{a,b}{a,b}{a,b}{a,b}{a,b}{a,b}{a,b}"),
              "more than 256 alternatives");
    std::string stars;
    for (int count = 0; count < 17; ++count) {
        stars += "/*";
    }
    EXPECT_EQ(problemWith(stars), "more than 16 times '*'");
}

// With backtracking that grows by a power of the size, each of these takes minutes and more.
TEST(Glob, TakesTimeInProportionToTheText)
{
    const std::string text(64UL * 1024, 'a');
    std::string manyStars;
    for (int count = 0; count < 200; ++count) {
        manyStars += "*a";
    }
    const std::string starsInComponents = "/**/*a*a*a*a*a*a*a*a*a*a*a*a*a*a*b";
    std::string path;
    for (int count = 0; count < 16; ++count) {
        path += '/' + std::string(4000, 'a');
    }
    const auto begin = threadTime();
    EXPECT_FALSE(matches(manyStars + "b*c", Subject::Text, text));
    EXPECT_FALSE(matches('*' + std::string(500, 'a') + "b*", Subject::Text, text));
    EXPECT_FALSE(matches("**a*a*b", Subject::Path, text));
    EXPECT_FALSE(matches(starsInComponents + '*', Subject::Path, path));
    EXPECT_FALSE(matches("**a*a*a*b/x", Subject::Path, path + "/x"));
    EXPECT_LT(threadTime() - begin, std::chrono::seconds(5));
}

TEST(GlobList, IsMetByAnyOfItsPatterns)
{
    GlobList list;
    EXPECT_FALSE(list.isGiven());
    EXPECT_EQ(list.add("/a/**", Subject::Path, ""), "");
    EXPECT_EQ(list.add("/b", Subject::Path, ""), "");
    EXPECT_TRUE(list.isGiven());
    EXPECT_TRUE(list.matches("/a/x"));
    EXPECT_TRUE(list.matches("/b"));
    EXPECT_FALSE(list.matches("/c"));
    EXPECT_EQ(list.entries(), (std::vector<std::string>{"/a/**", "/b"}));
}

TEST(GlobList, IsNotMetByWhatIsExcluded)
{
    GlobList list;
    EXPECT_EQ(list.add("!/var/**", Subject::Path, ""), "");
    EXPECT_TRUE(list.matches("/home"));
    EXPECT_FALSE(list.matches("/var/www"));
    EXPECT_EQ(list.add("/v*/**", Subject::Path, ""), "");
    EXPECT_TRUE(list.matches("/vol/www"));
    EXPECT_FALSE(list.matches("/var/www"));
    EXPECT_FALSE(list.matches("/home"));
}

TEST(GlobList, IsNotMetByWhatIsUnknown)
{
    GlobList list;
    EXPECT_EQ(list.add("**", Subject::Path, ""), "");
    EXPECT_FALSE(list.matches(""));
    GlobList excluding;
    EXPECT_EQ(excluding.add("!/a", Subject::Path, ""), "");
    EXPECT_FALSE(excluding.matches(""));
}

TEST(GlobList, HasTheHomeInPlaceOfATilde)
{
    GlobList list;
    EXPECT_EQ(list.add("~/{src,go}/**", Subject::Path, "/home/[ada]"), "");
    EXPECT_EQ(list.add("~", Subject::Path, "/home/[ada]"), "");
    EXPECT_TRUE(list.matches("/home/[ada]/src/shop"));
    EXPECT_TRUE(list.matches("/home/[ada]"));
    EXPECT_FALSE(list.matches("/home/a/src"));

    GlobList command;
    EXPECT_EQ(command.add("~/x", Subject::Text, "/home/ada"), "");
    EXPECT_TRUE(command.matches("~/x"));
}

TEST(GlobList, MatchesNothingBelowAHomeThatIsUnknown)
{
    GlobList list;
    EXPECT_EQ(list.add("~/**", Subject::Path, ""), "");
    EXPECT_TRUE(list.isGiven());
    EXPECT_FALSE(list.matches("/src"));
    EXPECT_FALSE(list.matches("/"));
}

TEST(GlobList, AddsNoPatternThatIsWrong)
{
    GlobList list;
    EXPECT_EQ(list.add("!", Subject::Path, ""), "an empty pattern");
    EXPECT_EQ(list.add("~/[", Subject::Path, "/home"), "'[' without ']'");
    EXPECT_FALSE(list.isGiven());
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/PortSearch.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

using namespace Tarnwick;

namespace {

constexpr const char *neutralLocale = "C.UTF-8";

PortEntry nodeEntry()
{
    PortEntry entry;
    entry.port = 8080;
    entry.process = "node";
    entry.description = "Node.js Server";
    entry.command = "/opt/tools/bin/node-20";
    entry.cwd = "/home/ann/site";
    entry.arguments = {"node", "listen.js"};
    entry.originArguments = {"npm", "start"};
    return entry;
}

bool finds(std::string_view text, const PortEntry &entry, const char *locale = neutralLocale)
{
    return PortSearch(text, locale).matches(entry);
}

bool findsProcess(std::string_view text, std::string process, const char *locale = neutralLocale)
{
    PortEntry entry;
    entry.process = std::move(process);
    return finds(text, entry, locale);
}

bool findsPort(std::string_view text, std::int64_t port)
{
    PortEntry entry;
    entry.port = port;
    return finds(text, entry);
}

} // namespace

TEST(PortSearch, FindsEverythingForAnEmptyText)
{
    EXPECT_TRUE(finds("", nodeEntry()));
    EXPECT_TRUE(finds("", PortEntry()));
}

TEST(PortSearch, FindsEverythingForWhiteSpace)
{
    for (const std::string_view text :
         {" ", "   ", "\t\n\v\f\r", "\u0085", "\u00a0", "\u1680", "\u2000\u200a", "\u2028\u2029",
          "\u202f", "\u205f", "\u3000", " \u3000\n"}) {
        EXPECT_TRUE(finds(text, nodeEntry()));
    }
}

TEST(PortSearch, TrimsWhiteSpaceAtBothEnds)
{
    EXPECT_TRUE(finds("  node\n", nodeEntry()));
    EXPECT_TRUE(finds("\u00a0\u3000node\u2003", nodeEntry()));
    EXPECT_TRUE(finds(" 8080 ", nodeEntry()));
}

TEST(PortSearch, TrimsNothingButWhiteSpace)
{
    EXPECT_FALSE(finds("\u200bnode", nodeEntry())); // zero width space has not that property
    EXPECT_FALSE(finds("\ufeffnode", nodeEntry()));
    EXPECT_FALSE(finds(".node", nodeEntry()));
}

TEST(PortSearch, FindsAPartOfThePort)
{
    EXPECT_TRUE(findsPort("80", 80));
    EXPECT_TRUE(findsPort("80", 8080));
    EXPECT_TRUE(findsPort("80", 3800));
    EXPECT_FALSE(findsPort("80", 8200));
    EXPECT_FALSE(findsPort("80", 443));
    EXPECT_FALSE(findsPort("080", 80));
    EXPECT_FALSE(findsPort(":80", 80));
}

TEST(PortSearch, FindsAPartOfTheProcessTheDescriptionAndTheCommand)
{
    EXPECT_TRUE(finds("od", nodeEntry()));
    EXPECT_TRUE(finds("server", nodeEntry()));
    EXPECT_TRUE(finds("/tools/", nodeEntry()));
}

TEST(PortSearch, IgnoresCaseInEveryText)
{
    EXPECT_TRUE(findsProcess("NODE", "node"));
    EXPECT_TRUE(findsProcess("node", "NODE"));
    EXPECT_TRUE(finds("nODE.JS sERVER", nodeEntry()));
    EXPECT_TRUE(finds("/OPT/Tools", nodeEntry()));
}

TEST(PortSearch, IgnoresCaseBeyondAscii)
{
    EXPECT_TRUE(findsProcess("CAF\u00c9", "caf\u00e9"));
    EXPECT_TRUE(findsProcess("\u0436", "\u0416"));         // Cyrillic zhe
    EXPECT_TRUE(findsProcess("\u03a9", "\u03c9"));         // Greek omega
    EXPECT_TRUE(findsProcess("\U00010400", "\U00010428")); // Deseret, beyond 16 bits
    EXPECT_FALSE(findsProcess("e", "\u00e9"));
}

TEST(PortSearch, LooksNeitherAtTheWorkingDirectoryNorAtTheArguments)
{
    EXPECT_FALSE(finds("site", nodeEntry()));
    EXPECT_FALSE(finds("listen", nodeEntry()));
    EXPECT_FALSE(finds("npm", nodeEntry()));
}

TEST(PortSearch, MatchesTheTextAsAWhole)
{
    EXPECT_TRUE(finds("Node.js Server", nodeEntry()));
    EXPECT_FALSE(finds("Node.js  Server", nodeEntry()));
    EXPECT_FALSE(finds("node server", nodeEntry()));
    EXPECT_FALSE(finds("8080 node", nodeEntry()));
}

TEST(PortSearch, MatchesNothingAcrossTwoTexts)
{
    EXPECT_FALSE(finds("8080node", nodeEntry()));
    EXPECT_FALSE(finds("nodeNode.js", nodeEntry()));
    EXPECT_FALSE(finds("Server/opt", nodeEntry()));
}

TEST(PortSearch, FindsItsTextInAnyOtherByTheSameRules)
{
    EXPECT_TRUE(PortSearch(" VITE ", neutralLocale).contains("npx vite"));
    EXPECT_TRUE(PortSearch("CAF\u00c9", neutralLocale).contains("caf\u00e9"));
    EXPECT_FALSE(PortSearch("npx  vite", neutralLocale).contains("npx vite"));
    EXPECT_TRUE(PortSearch(" ", neutralLocale).contains("npx vite"));
}

TEST(PortSearch, TakesATextThatIsNotUtf8)
{
    EXPECT_FALSE(finds("node\xff", nodeEntry()));
    EXPECT_TRUE(findsProcess("node\xff", "node\ufffd"));
}

TEST(PortSearch, TakesALocaleThatIsNotInstalledAsTheNeutralOne)
{
    EXPECT_TRUE(findsProcess("CAF\u00c9", "caf\u00e9", "xx_XX.UTF-8"));
}

TEST(PortSearch, TakesALocaleOfAnotherEncodingAsTheNeutralOne)
{
    EXPECT_TRUE(findsProcess("CAF\u00c9", "caf\u00e9", "C"));
    EXPECT_TRUE(findsProcess("CAF\u00c9", "caf\u00e9", "POSIX"));
}

TEST(PortSearch, FollowsTheLocaleOfTheEnvironmentByDefault)
{
    const ScopedEnvironment all("LC_ALL", "C");
    PortEntry entry;
    entry.process = "caf\u00e9";
    EXPECT_TRUE(PortSearch("CAF\u00c9").matches(entry));
}

TEST(PortSearch, KeepsTheDottedAndTheDotlessIApartOutsideTurkish)
{
    EXPECT_TRUE(findsProcess("INDEX", "index"));
    EXPECT_FALSE(findsProcess("\u0131ndex", "index"));
}

/// The C library never frees what it makes of LOCPATH, which only the tests below set. The leak
/// checker asks for this function by its name.
extern "C" [[gnu::visibility("default")]] const char *
__lsan_default_suppressions() // NOLINT(bugprone-reserved-identifier,readability-identifier-naming)
{
    return "leak:__argz_add_sep\n";
}

/// With a Turkish locale that is made for the test.
class PortSearchInTurkish : public testing::Test
{
protected:
    void SetUp() override
    {
        const std::string name = m_folder.path() / "tr_TR.UTF-8";
        const std::string command = "localedef -i tr_TR -f UTF-8 " + name + " 2>/dev/null";
        if (std::system(command.c_str()) != 0) {
            GTEST_SKIP() << "needs localedef and the locale sources (Debian package locales)";
        }
        m_locales = std::make_unique<ScopedEnvironment>("LOCPATH", m_folder.path());
    }

    static constexpr const char *turkish = "tr_TR.UTF-8";

private:
    TemporaryFolder m_folder;
    std::unique_ptr<ScopedEnvironment> m_locales;
};

TEST_F(PortSearchInTurkish, PairsTheDottedAndTheDotlessI)
{
    EXPECT_TRUE(findsProcess("INDEX", "\u0131ndex", turkish));
    EXPECT_TRUE(findsProcess("\u0130ndex", "index", turkish));
    EXPECT_FALSE(findsProcess("INDEX", "index", turkish));
    EXPECT_TRUE(findsProcess("NODE", "node", turkish));
}

TEST_F(PortSearchInTurkish, FollowsTheEnvironment)
{
    const ScopedEnvironment all("LC_ALL", turkish);
    PortEntry entry;
    entry.process = "\u0131ndex";
    EXPECT_TRUE(PortSearch("INDEX").matches(entry));
    EXPECT_FALSE(PortSearch("index").matches(entry));
}

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/TierRuleParser.h"

#include "Shared/Utf8.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

// The library without what writes TOML, and without exceptions.
#define TOML_EXCEPTIONS 0
#define TOML_ENABLE_FORMATTERS 0
#include <toml++/toml.h>

namespace Tarnwick {

namespace {

constexpr std::int64_t lastPort = 65'535;

struct Reason
{
    unsigned line;
    std::string text;
};

/// What is wrong; nothing where nothing is.
using Check = std::optional<Reason>;

unsigned lineOf(const toml::source_region &region)
{
    return static_cast<unsigned>(region.begin.line);
}

Reason wrong(const toml::node &node, std::string text)
{
    return {lineOf(node.source()), std::move(text)};
}

bool isControl(char character)
{
    return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
}

std::string quoted(std::string_view text)
{
    return "'" + std::string(text) + "'";
}

struct PatternKey
{
    std::string_view name;
    GlobList TierRule::*condition;
    Glob::Subject subject;
};

constexpr std::array patternKeys{
    PatternKey{"executable", &TierRule::executable, Glob::Subject::Path},
    PatternKey{"process", &TierRule::process, Glob::Subject::Text},
    PatternKey{"directory", &TierRule::directory, Glob::Subject::Path},
    PatternKey{"command", &TierRule::command, Glob::Subject::Text},
};

/// The one of two that comes first in the file: the library keeps the keys of a table in the order
/// of their names.
Check earlier(Check left, Check right)
{
    return right && (!left || right->line < left->line) ? right : left;
}

/// Calls @p read with the elements of @p node, when it is an array, else with the node itself.
template<class Read>
Check forEachElement(const toml::node &node, std::string_view name, Read read)
{
    const toml::array *const array = node.as_array();
    if (array == nullptr) {
        return read(node);
    }
    if (array->empty()) {
        return wrong(node, quoted(name) + " is an empty array");
    }
    for (const toml::node &element : *array) {
        if (Check problem = read(element)) {
            return problem;
        }
    }
    return std::nullopt;
}

std::optional<PortRange> portRange(std::int64_t first, std::int64_t last)
{
    const bool isRange = first >= 1 && last <= lastPort && first <= last;
    return isRange ? std::optional(PortRange{first, last}) : std::nullopt;
}

/// "3000-3999", or a port alone.
std::optional<PortRange> portRange(std::string_view text)
{
    const auto number = [](std::string_view digits) -> std::int64_t {
        std::int64_t value = 0;
        const char *const end = digits.data() + digits.size();
        const auto [last, error] = std::from_chars(digits.data(), end, value);
        return error == std::errc() && last == end ? value : -1;
    };
    const std::size_t dash = text.find('-');
    const std::string_view last = dash == std::string_view::npos ? text : text.substr(dash + 1);
    return portRange(number(text.substr(0, dash)), number(last));
}

/// One table of the array `rule`.
class RuleReader
{
public:
    explicit RuleReader(std::string_view home)
        : m_home(home)
    {
    }

    [[nodiscard]] Check read(const toml::table &table)
    {
        Check problem;
        for (const auto &[key, value] : table) {
            problem = earlier(std::move(problem), readKey(key, value));
        }
        if (problem) {
            return problem;
        }
        m_rule.line = lineOf(table.source());
        if (!m_hasTier) {
            return wrong(table, "the rule has no 'tier'");
        }
        if (!m_rule.hasCondition()) {
            return wrong(table, "the rule has no condition: one of 'executable', 'process', "
                                "'directory', 'command' and 'ports' is needed");
        }
        return std::nullopt;
    }

    [[nodiscard]] TierRule take() { return std::move(m_rule); }

private:
    [[nodiscard]] Check readKey(const toml::key &key, const toml::node &value)
    {
        const std::string_view name = key.str();
        if (name == "tier") {
            return readTier(value);
        }
        if (name == "description") {
            return readDescription(value);
        }
        if (name == "ports") {
            return forEachElement(value, name,
                                  [this](const toml::node &port) { return readPorts(port); });
        }
        const auto *const known =
            std::find_if(patternKeys.begin(), patternKeys.end(),
                         [name](const PatternKey &pattern) { return pattern.name == name; });
        if (known == patternKeys.end()) {
            return Reason{lineOf(key.source()), "unknown key " + quoted(name)};
        }
        return forEachElement(value, name, [this, known](const toml::node &pattern) {
            return readPattern(pattern, *known);
        });
    }

    [[nodiscard]] Check readTier(const toml::node &value)
    {
        const toml::value<std::string> *const text = value.as_string();
        const auto tier = text != nullptr ? portTierFromRawValue(text->get()) : std::nullopt;
        if (!tier) {
            return wrong(value, "'tier' must be \"system\", \"app\", \"dev\" or \"unknown\"");
        }
        m_rule.tier = *tier;
        m_hasTier = true;
        return std::nullopt;
    }

    [[nodiscard]] Check readDescription(const toml::node &value)
    {
        const toml::value<std::string> *const text = value.as_string();
        if (text == nullptr || text->get().empty() ||
            std::any_of(text->get().begin(), text->get().end(), isControl)) {
            return wrong(value, "'description' must be a string of one line, and not empty");
        }
        m_rule.description = text->get();
        return std::nullopt;
    }

    [[nodiscard]] Check readPorts(const toml::node &value)
    {
        std::optional<PortRange> range;
        if (const toml::value<std::int64_t> *const number = value.as_integer()) {
            range = portRange(number->get(), number->get());
        } else if (const toml::value<std::string> *const text = value.as_string()) {
            range = portRange(text->get());
        }
        if (!range) {
            return wrong(value, "'ports' must be ports, 1 to 65535, or ranges such as "
                                "\"3000-3999\"");
        }
        m_rule.ports.push_back(*range);
        return std::nullopt;
    }

    [[nodiscard]] Check readPattern(const toml::node &value, const PatternKey &key)
    {
        const toml::value<std::string> *const text = value.as_string();
        if (text == nullptr) {
            return wrong(value, quoted(key.name) + " must be a string or an array of strings");
        }
        const std::string problem = (m_rule.*key.condition).add(text->get(), key.subject, m_home);
        if (!problem.empty()) {
            return wrong(value, quoted(key.name) + ": " + problem);
        }
        return std::nullopt;
    }

    std::string_view m_home;
    TierRule m_rule;
    bool m_hasTier = false;
};

/// Reads the array of tables named `rule` into @p rules.
Check readRules(const toml::table &document, std::string_view home, std::vector<TierRule> &rules)
{
    Check problem;
    for (const auto &[key, value] : document) {
        if (key.str() != "rule") {
            problem = earlier(std::move(problem),
                              Reason{lineOf(key.source()), "unknown key " + quoted(key.str())});
        }
    }
    const toml::node *const value = document.get("rule");
    if (value == nullptr) {
        return problem;
    }
    const toml::array *const tables = value->as_array();
    if (tables == nullptr) {
        return earlier(std::move(problem), wrong(*value, "a rule begins with [[rule]]"));
    }
    rules.reserve(tables->size());
    for (const toml::node &element : *tables) {
        const toml::table *const table = element.as_table();
        RuleReader reader(home);
        Check found =
            table == nullptr ? wrong(element, "a rule begins with [[rule]]") : reader.read(*table);
        if (found) {
            return earlier(std::move(problem), std::move(found));
        }
        rules.push_back(reader.take());
    }
    return problem;
}

/// The first line of @p text that is no UTF-8; 0 where all are.
unsigned invalidLine(std::string_view text)
{
    if (Utf8::isValid(text)) {
        return 0;
    }
    unsigned line = 1;
    while (true) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        if (!Utf8::isValid(text.substr(0, end))) {
            return line;
        }
        text.remove_prefix(std::min(end + 1, text.size()));
        ++line;
    }
}

} // namespace

std::string TierRuleProblem::text() const
{
    std::string text = file + (line > 0 ? ":" + std::to_string(line) : "") + ": " + reason;
    std::replace_if(text.begin(), text.end(), isControl, '?');
    return Utf8::sanitized(text);
}

TierRuleParser::Parsed TierRuleParser::parse(std::string_view text, const std::string &file,
                                             std::string_view home)
{
    if (const unsigned line = invalidLine(text); line > 0) {
        return TierRuleProblem{file, line, "not UTF-8"};
    }
    const toml::parse_result document = toml::parse(text);
    if (!document) {
        const toml::parse_error &error = document.error();
        return TierRuleProblem{file, lineOf(error.source()), std::string(error.description())};
    }
    std::vector<TierRule> rules;
    if (const Check problem = readRules(document.table(), home, rules)) {
        return TierRuleProblem{file, problem->line, problem->text};
    }
    for (TierRule &rule : rules) {
        rule.file = file;
    }
    return rules;
}

} // namespace Tarnwick

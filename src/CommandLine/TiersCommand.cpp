// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/TiersCommand.h"

#include "CommandLine/JsonMembers.h"
#include "CommandLine/Table.h"
#include "CommandLine/TerminalText.h"
#include "Core/PathRule.h"
#include "Shared/EntryText.h"
#include "Shared/RawPortInfoWriter.h"
#include "Shared/TierExplanation.h"

#include <cstddef>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace Tarnwick {

namespace {

using Columns = std::vector<Table::Column>;

/// The rules of one file, in a table of their own.
Table tableOf(std::span<const TierRule> rules, const Style &style)
{
    constexpr std::size_t longestDescription = 28;
    Table table({{"LINE", Table::Alignment::Right},
                 {"TIER"},
                 {"DESCRIPTION", Table::Alignment::Left, longestDescription},
                 {"CONDITIONS"}});
    for (const TierRule &rule : rules) {
        table.add({.cells = {{std::to_string(rule.line), {}},
                             {std::string(rawValue(rule.tier)), style.accent(rule.tier)},
                             {TerminalText::printable(rule.description), {}},
                             {TerminalText::printable(conditionsText(rule)), {}}}});
    }
    return table;
}

Table tableOfBuiltIn(const Style &style)
{
    Table table(Columns{{"TIER"}, {"CONDITIONS"}});
    for (const PathRule &rule : pathRules) {
        table.add({.cells = {{std::string(rawValue(rule.tier)), style.accent(rule.tier)},
                             {conditionsText(rule), {}}}});
    }
    return table;
}

/// How many of @p rules, which are not empty, stand in the file of the first one.
std::size_t countInFirstFile(std::span<const TierRule> rules)
{
    std::size_t count = 1;
    while (count < rules.size() && rules[count].file == rules.front().file) {
        ++count;
    }
    return count;
}

std::string counted(std::size_t count, std::string_view one, std::string_view several)
{
    return std::to_string(count) + " " + std::string(count == 1 ? one : several);
}

void writePatterns(JsonWriter &writer, std::string_view name, const GlobList &condition)
{
    writeKey(writer, name);
    writer.StartArray();
    for (const std::string &entry : condition.entries()) {
        writeString(writer, entry);
    }
    writer.EndArray();
}

void writeRule(JsonWriter &writer, const TierRule &rule)
{
    writer.StartObject();
    writeMember(writer, "file", TerminalText::printable(rule.file));
    writeKey(writer, "line");
    writer.Uint(rule.line);
    writeMember(writer, "tier", rawValue(rule.tier));
    writeMember(writer, "description", rule.description);
    writePatterns(writer, "executable", rule.executable);
    writePatterns(writer, "process", rule.process);
    writePatterns(writer, "directory", rule.directory);
    writePatterns(writer, "command", rule.command);
    writeKey(writer, "ports");
    writer.StartArray();
    for (const PortRange &range : rule.ports) {
        writeString(writer, portsText(range));
    }
    writer.EndArray();
    writer.EndObject();
}

/// A rule as it would stand in a file.
TierRule ruleOf(const PathRule &builtIn)
{
    TierRule rule;
    rule.tier = builtIn.tier;
    rule.file = "built-in";
    const bool isAnywhere = builtIn.test == PathRule::Test::Contains;
    static_cast<void>(rule.executable.add(
        (isAnywhere ? "**" : "") + std::string(builtIn.text) + "**", Glob::Subject::Path, {}));
    return rule;
}

void writeProblem(JsonWriter &writer, const TierRuleProblem &problem)
{
    writer.StartObject();
    writeMember(writer, "file", TerminalText::printable(problem.file));
    writeKey(writer, "line");
    writer.Uint(problem.line);
    writeMember(writer, "reason", TerminalText::printable(problem.reason));
    writer.EndObject();
}

/// Begins a line with the next element of an array.
class Lines
{
public:
    explicit Lines(std::string &json)
        : m_json(json)
    {
    }

    template<class Write>
    void add(Write write)
    {
        JsonBuffer buffer;
        JsonWriter writer(buffer);
        write(writer);
        m_json.append(m_isFirst ? "\n" : ",\n").append(buffer.GetString(), buffer.GetSize());
        m_isFirst = false;
    }

private:
    std::string &m_json;
    bool m_isFirst = true;
};

} // namespace

TiersCommand::TiersCommand(TiersArguments arguments, const Console &console,
                           TierRuleSources sources)
    : m_arguments(arguments)
    , m_console(console)
    , m_sources(std::move(sources))
{
}

ExitCode TiersCommand::run()
{
    TierRuleFiles files(m_sources, [this](const TierRuleProblem &problem) {
        m_console.sayError(TerminalText::printable(problem.text()));
    });
    const SharedTierRules rules = files.update();
    const ExitCode code = files.problems().empty() ? ExitCode::Done : ExitCode::Failed;
    return m_console.finish(m_arguments.json ? json(*rules, files) : text(*rules), code);
}

std::string TiersCommand::text(const TierRules &rules) const
{
    const TerminalShape shape = m_console.output.terminal();
    const Style style(colorDepth(m_console.environment, shape.isTerminal));
    const std::size_t width = shape.isTerminal ? shape.columns : Table::anyWidth;
    std::string text;
    const auto append = [&](const std::string &heading, const Table &table) {
        text.append(TerminalText::cut(heading, width)).append(":\n");
        for (const std::string &line : table.lines(style, width)) {
            text.append(line).append("\n");
        }
        text += '\n';
    };
    std::size_t fileCount = 0;
    for (std::span<const TierRule> rest = rules.rules(); !rest.empty(); ++fileCount) {
        const std::size_t count = countInFirstFile(rest);
        const std::string file =
            EntryText::replacingHomePrefix(rest.front().file, m_console.environment.home);
        append(TerminalText::printable(file), tableOf(rest.first(count), style));
        rest = rest.subspan(count);
    }
    append("built-in", tableOfBuiltIn(style));
    const std::string summary = counted(rules.rules().size(), "rule in ", "rules in ") +
                                counted(fileCount, "file", "files") + ", then " +
                                counted(pathRules.size(), "built-in rule", "built-in rules") +
                                "; the first that holds decides";
    return text.append(TerminalText::cut(summary, width)).append("\n");
}

std::string TiersCommand::json(const TierRules &rules, const TierRuleFiles &files)
{
    std::string json = "{\"rules\":[";
    Lines ruleLines(json);
    for (const TierRule &rule : rules.rules()) {
        ruleLines.add([&rule](JsonWriter &writer) { writeRule(writer, rule); });
    }
    for (const PathRule &rule : pathRules) {
        ruleLines.add([&rule](JsonWriter &writer) { writeRule(writer, ruleOf(rule)); });
    }
    json += "\n],\"refused\":[";
    Lines problemLines(json);
    for (const TierRuleProblem &problem : files.problems()) {
        problemLines.add([&problem](JsonWriter &writer) { writeProblem(writer, problem); });
    }
    return json += "]}\n";
}

} // namespace Tarnwick

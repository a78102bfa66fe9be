// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/TierRuleFiles.h"

#include "Shared/FileDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <system_error>
#include <utility>
#include <variant>

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

constexpr std::string_view noRules = "none";
constexpr std::string_view fileName = "tarnwick/tiers.toml";

std::string variable(const char *name)
{
    const char *const value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::string folderOfProgram()
{
    std::error_code unknown;
    return std::filesystem::read_symlink("/proc/self/exe", unknown).parent_path().string();
}

/// Where @p path is gone, or was never there.
bool isMissing(int error)
{
    return error == ENOENT || error == ENOTDIR;
}

/// Whether a file that had the times in @p status when it was read may change again and keep them:
/// the kernel gives times to the tick of its clock, 10 ms at most.
bool wasJustChanged(const struct stat &status)
{
    constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
    constexpr std::int64_t safeAge = 50'000'000;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const std::int64_t age = (now.tv_sec - status.st_ctim.tv_sec) * nanosecondsPerSecond +
                             now.tv_nsec - status.st_ctim.tv_nsec;
    return age < safeAge;
}

std::array<std::int64_t, 7> stampOf(const struct stat &status)
{
    return {static_cast<std::int64_t>(status.st_dev),
            static_cast<std::int64_t>(status.st_ino),
            status.st_size,
            status.st_mtim.tv_sec,
            status.st_mtim.tv_nsec,
            status.st_ctim.tv_sec,
            status.st_ctim.tv_nsec};
}

/// Reads the whole file, or one byte more than @p limit of it; 0, or the reason as errno has it.
int readUpTo(int descriptor, std::size_t limit, std::string &text)
{
    std::array<char, 16UL * 1024> part{};
    while (text.size() <= limit) {
        const std::size_t room = std::min(part.size(), limit + 1 - text.size());
        const ssize_t got = ::read(descriptor, part.data(), room);
        if (got < 0 && errno != EINTR) {
            return errno;
        }
        if (got == 0) {
            break;
        }
        text.append(part.data(), static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    }
    return 0;
}

} // namespace

TierRuleSources TierRuleSources::from(const Environment &environment)
{
    TierRuleSources sources{.files = {}, .home = environment.home};
    while (sources.home.ends_with('/')) {
        sources.home.pop_back();
    }
    if (!environment.chosen.empty()) {
        if (environment.chosen != noRules) {
            sources.files.push_back({environment.chosen, true});
        }
        return sources;
    }
    const bool hasConfigHome = environment.configHome.starts_with('/');
    if (hasConfigHome || !environment.home.empty()) {
        const std::string folder =
            hasConfigHome ? environment.configHome : sources.home + "/.config";
        sources.files.push_back({folder + "/velmora/" + std::string(fileName)});
    }
    sources.files.push_back({environment.systemFolder + "/" + std::string(fileName)});
    if (!environment.programFolder.empty()) {
        const std::filesystem::path program(environment.programFolder);
        sources.files.push_back({(program.parent_path() / "share" / fileName).string()});
    }
    return sources;
}

TierRuleSources TierRuleSources::ofThisProcess()
{
    return from({.chosen = variable("TARNWICK_TIERS"),
                 .home = variable("HOME"),
                 .configHome = variable("XDG_CONFIG_HOME"),
                 .systemFolder = "/etc",
                 .programFolder = folderOfProgram()});
}

TierRuleFiles::TierRuleFiles(TierRuleSources sources, Report report)
    : m_sources(std::move(sources))
    , m_report(std::move(report))
    , m_contents(m_sources.files.size())
{
}

SharedTierRules TierRuleFiles::update()
{
    std::vector<bool> changed(m_contents.size());
    for (std::size_t index = 0; index < m_contents.size(); ++index) {
        Contents &contents = m_contents[index];
        if (isCurrent(m_sources.files[index], contents)) {
            continue;
        }
        Contents read = TierRuleFiles::read(m_sources.files[index]);
        // What was read again because it might have changed may be the same.
        changed[index] =
            contents.error < 0 || read.text != contents.text || read.problem != contents.problem;
        contents = std::move(read);
    }
    if (std::find(changed.begin(), changed.end(), true) != changed.end()) {
        parse(changed);
    }
    return m_rules;
}

void TierRuleFiles::parse(const std::vector<bool> &changed)
{
    std::vector<TierRule> rules;
    m_problems.clear();
    for (std::size_t index = 0; index < m_contents.size(); ++index) {
        const std::string &path = m_sources.files[index].path;
        const Contents &contents = m_contents[index];
        TierRuleParser::Parsed parsed = TierRuleProblem{path, 0, contents.problem};
        if (contents.problem.empty()) {
            parsed = TierRuleParser::parse(contents.text, path, m_sources.home);
        }
        if (auto *problem = std::get_if<TierRuleProblem>(&parsed)) {
            m_problems.push_back(std::move(*problem));
            if (changed[index] && m_report) {
                m_report(m_problems.back());
            }
            continue;
        }
        auto &read = std::get<std::vector<TierRule>>(parsed);
        std::move(read.begin(), read.end(), std::back_inserter(rules));
    }
    m_rules = std::make_shared<TierRules>(std::move(rules));
}

bool TierRuleFiles::isCurrent(const TierRuleSources::File &file, const Contents &contents)
{
    struct stat status = {};
    const bool isThere = stat(file.path.c_str(), &status) == 0;
    if (contents.error == 0) {
        return isThere && !contents.isRecent && stampOf(status) == contents.stamp;
    }
    // Whether a file can be opened does not follow from its own times alone.
    return !isThere && isMissing(contents.error) && errno == contents.error;
}

TierRuleFiles::Contents TierRuleFiles::read(const TierRuleSources::File &file)
{
    Contents contents;
    // Without waiting for the other side of a pipe, and without making a terminal ours.
    const FileDescriptor descriptor(
        open(file.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status = {};
    contents.error = descriptor && fstat(descriptor.get(), &status) == 0 ? 0 : errno;
    if (contents.error != 0) {
        const bool isAbsent = isMissing(contents.error) && !file.isRequired;
        contents.problem = isAbsent ? "" : std::generic_category().message(contents.error);
        return contents;
    }
    contents.stamp = stampOf(status);
    contents.isRecent = wasJustChanged(status);
    if (!S_ISREG(status.st_mode)) {
        contents.problem = "not a regular file";
        return contents;
    }
    const int error = readUpTo(descriptor.get(), maxFileSize, contents.text);
    if (error != 0) {
        contents.problem = std::generic_category().message(error);
    } else if (contents.text.size() > maxFileSize) {
        contents.problem = "larger than 1 MiB";
        contents.text.clear();
    }
    return contents;
}

} // namespace Tarnwick

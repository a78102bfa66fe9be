// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

// Measures the way of a listing through the application, step by step: `core-probe steps COUNT
// ROUNDS` with records made up, `core-probe scan ROUNDS HELPER` with the helper program given and
// the listeners of this machine, on the session bus of the environment. Prints a JSON object for
// each measurement.

#include "AllocationCount.h"

#include "App/AppState.h"
#include "App/HelperClient.h"
#include "Core/DiffEngine.h"
#include "Core/NetworkMonitor.h"
#include "Core/SerialExecutor.h"
#include "Platform/linux/BusHelperConnection.h"
#include "Shared/PortScanner.h"
#include "Shared/RawPortInfo.h"
#include "Shared/TierRuleFiles.h"

#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

using namespace Tarnwick;

namespace {

using Clock = std::chrono::steady_clock;

double milliseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

/// Processor time of the calling thread, in milliseconds.
double threadTime()
{
    timespec time = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

struct Cost
{
    double time = 0;       ///< milliseconds from begin to end
    double mainThread = 0; ///< milliseconds of processor time
    std::uint64_t allocations = 0;
};

Cost measure(const std::function<void()> &work)
{
    const std::uint64_t allocations = allocationCount();
    const double busy = threadTime();
    const Clock::time_point begin = Clock::now();
    work();
    return {.time = milliseconds(Clock::now() - begin),
            .mainThread = threadTime() - busy,
            .allocations = allocationCount() - allocations};
}

/// Runs the event loop until @p task has ended.
void await(const QCoro::Task<void> &task)
{
    while (!task.isReady()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

template<typename Value>
Value median(std::vector<Value> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void print(std::string_view step, std::size_t listeners, const std::vector<Cost> &costs,
           std::size_t bytes = 0)
{
    std::vector<double> times;
    std::vector<double> mainThread;
    std::vector<std::uint64_t> allocations;
    for (const Cost &cost : costs) {
        times.push_back(cost.time);
        mainThread.push_back(cost.mainThread);
        allocations.push_back(cost.allocations);
    }
    std::cout << R"({"step": ")" << step << R"(", "listeners": )" << listeners
              << ", \"ms\": " << median(times) << ", \"main_ms\": " << median(mainThread)
              << ", \"allocations\": " << median(allocations) << ", \"bytes\": " << bytes
              << ", \"runs\": " << costs.size() << "}\n";
}

RawPortInfo record(std::string name, std::string path, std::string cwd,
                   std::vector<std::string> arguments, std::vector<std::string> origin)
{
    RawPortInfo made;
    made.processName = std::move(name);
    made.commandPath = std::move(path);
    made.cwd = std::move(cwd);
    made.arguments = std::move(arguments);
    made.originArguments = std::move(origin);
    return made;
}

/// What a developer's machine might list: four kinds of servers.
std::vector<RawPortInfo> records(std::size_t count)
{
    const std::vector<RawPortInfo> kinds{
        record("node", "/home/ann/.nvm/versions/node/v20.11.1/bin/node", "/home/ann/src/shop",
               {"node", "/home/ann/src/shop/node_modules/.bin/vite", "--port"},
               {"npm", "run", "dev"}),
        record("postgres", "/usr/lib/postgresql/15/bin/postgres", "/var/lib/postgresql/15/main",
               {"/usr/lib/postgresql/15/bin/postgres", "-D", "/var/lib/postgresql/15/main"}, {}),
        record("java", "/usr/lib/jvm/java-17-openjdk-amd64/bin/java", "/home/ann/src/shop/backend",
               {"java", "-Xmx512m", "-jar", "target/backend.jar", "--server.port=8080"}, {}),
        record("cupsd", "/usr/sbin/cupsd", "/", {"/usr/sbin/cupsd", "-l"}, {})};
    std::vector<RawPortInfo> made;
    made.reserve(count);
    for (std::size_t at = 0; at < count; ++at) {
        RawPortInfo copy = kinds[at % kinds.size()];
        copy.pid = static_cast<std::int64_t>(1000 + at);
        copy.port = static_cast<std::int64_t>(1024 + at);
        copy.memoryBytes = 1048576 + at * 4096;
        made.push_back(std::move(copy));
    }
    return made;
}

std::vector<SharedPortEntry> entries(const std::vector<RawPortInfo> &records)
{
    std::vector<SharedPortEntry> shared;
    for (PortEntry &entry : PortScanner::entries(records)) {
        shared.push_back(std::make_shared<const PortEntry>(std::move(entry)));
    }
    return shared;
}

void measureDecoding(std::size_t count, int rounds)
{
    const std::vector<RawPortInfo> listing = records(count);
    const std::string payload = RawPortInfo::encode(listing);
    std::vector<Cost> decoding;
    std::vector<Cost> making;
    for (int round = 0; round < rounds; ++round) {
        RawPortInfo::Decoded decoded;
        decoding.push_back(measure([&] { decoded = RawPortInfo::decode(payload); }));
        if (!std::holds_alternative<std::vector<RawPortInfo>>(decoded)) {
            std::exit(EXIT_FAILURE);
        }
        std::vector<PortEntry> made;
        making.push_back(measure(
            [&] { made = PortScanner::entries(std::get<std::vector<RawPortInfo>>(decoded)); }));
    }
    print("decode", count, decoding, payload.size());
    print("classify and make entries", count, making);
}

/// Finds the rule of each record among those that come with Tarnwick; the records differ, so that
/// each is tried.
void measureRules(std::size_t count, int rounds)
{
    TierRuleSources::Environment environment;
    environment.programFolder =
        std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
    environment.systemFolder = "/nowhere";
    TierRuleFiles files(TierRuleSources::from(environment), {});
    std::vector<Cost> reading{measure([&] { static_cast<void>(files.update()); })};
    const SharedTierRules rules = files.update();
    if (rules->rules().empty()) {
        std::exit(EXIT_FAILURE);
    }
    const std::vector<RawPortInfo> listing = records(count);
    std::vector<Cost> matching;
    for (int round = 0; round < rounds; ++round) {
        matching.push_back(measure([&] {
            TierRules::Matcher matcher(*rules);
            for (const RawPortInfo &each : listing) {
                static_cast<void>(matcher.match(each));
            }
        }));
    }
    print("read the rules for tiers", rules->rules().size(), reading);
    print("find the rules for tiers", count, matching);
}

void measureDiff(std::size_t count, int rounds)
{
    const std::vector<RawPortInfo> listing = records(count);
    std::vector<RawPortInfo> changed = listing;
    for (std::size_t at = 0; at < count; at += 100) {
        changed[at].pid += 1'000'000;
    }
    std::vector<Cost> filling;
    std::vector<Cost> equal;
    std::vector<Cost> onePercent;
    for (int round = 0; round < rounds; ++round) {
        AppState state;
        DiffEngine engine(state);
        const auto process = [&](const std::vector<RawPortInfo> &scan) {
            std::vector<SharedPortEntry> made = entries(scan);
            return measure([&] { await(engine.process(std::move(made))); });
        };
        filling.push_back(process(listing));
        equal.push_back(process(listing));
        onePercent.push_back(process(changed));
    }
    print("first fill of the state", count, filling);
    print("diff of two equal scans", count, equal);
    print("diff with 1 % changed", count, onePercent);
}

void measureFilter(std::size_t count, int rounds)
{
    AppState state;
    state.setPorts(entries(records(count)));
    const auto filter = [&](std::string_view step, const char *text) {
        state.setSearchQuery(text);
        std::vector<Cost> costs;
        for (int round = 0; round < rounds; ++round) {
            std::vector<SharedPortEntry> found;
            costs.push_back(measure([&] { found = state.filteredPorts(); }));
        }
        print(step, count, costs);
    };
    filter("filteredPorts, no text", "");
    filter("filteredPorts, a quarter found", "PostgreSQL");
    filter("filteredPorts, nothing found", "no such thing");
}

void measureScan(int rounds, const std::string &helper)
{
    SerialExecutor decoder;
    HelperClient client(
        [&helper] {
            return std::make_unique<BusHelperConnection>(
                HelperProgram{.path = helper, .isInstalled = false});
        },
        decoder);
    AppState state;
    DiffEngine engine(state);
    NetworkMonitor monitor(client, engine);
    const auto scan = [&monitor] {
        await(monitor.start());
        monitor.stop();
    };
    const std::vector<Cost> first{measure(scan)};
    const std::size_t listeners = state.ports().size();
    std::vector<Cost> again;
    again.reserve(static_cast<std::size_t>(rounds));
    for (int round = 0; round < rounds; ++round) {
        again.push_back(measure(scan));
    }
    std::vector<RawPortInfo> listing;
    const auto list = [](HelperClient &asked, std::vector<RawPortInfo> &told) -> QCoro::Task<void> {
        told = co_await asked.xpcScan();
    };
    await(list(client, listing));
    const std::size_t bytes = RawPortInfo::encode(listing).size();
    print("first scan, helper started", listeners, first, bytes);
    print("whole unchanged scan", listeners, again, bytes);
}

int fail()
{
    std::cerr << "usage: core-probe steps COUNT ROUNDS | core-probe scan ROUNDS HELPER\n";
    return 2;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() != 3) {
        return fail();
    }
    if (arguments[0] == "steps") {
        const auto count = static_cast<std::size_t>(std::stoul(arguments[1]));
        const int rounds = std::stoi(arguments[2]);
        measureDecoding(count, rounds);
        measureRules(count, rounds);
        measureDiff(count, rounds);
        measureFilter(count, rounds);
        return 0;
    }
    if (arguments[0] == "scan") {
        measureScan(std::stoi(arguments[1]), arguments[2]);
        return 0;
    }
    return fail();
}

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/UI/SamplePanel.h"

#include <QCoroTask>
#include <QVariantMap>

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Tarnwick {

namespace {

constexpr std::string_view home = "/home/ann";

std::vector<std::string> strings(const QVariant &list)
{
    std::vector<std::string> result;
    for (const QString &text : list.toStringList()) {
        result.push_back(text.toStdString());
    }
    return result;
}

SharedPortEntry entryOf(const QVariantMap &fields)
{
    const auto text = [&fields](const char *name, const QString &usual = {}) {
        return fields.value(QLatin1String(name), usual).toString().toStdString();
    };
    PortEntry entry;
    entry.id = Uuid::random();
    entry.port = fields.value(QStringLiteral("port"), 3000).toLongLong();
    entry.pid = fields.value(QStringLiteral("pid"), 812).toLongLong();
    entry.process = text("process", QStringLiteral("node"));
    entry.command = text("command");
    entry.cwd = text("cwd");
    entry.originArguments = strings(fields.value(QStringLiteral("originArguments")));
    entry.memoryBytes = fields.value(QStringLiteral("memoryBytes")).toULongLong();
    entry.tier = portTierFromRawValue(text("tier", QStringLiteral("dev"))).value();
    entry.description = text(
        "description", fields.value(QStringLiteral("process"), QStringLiteral("node")).toString());
    if (fields.contains(QStringLiteral("settingsLink"))) {
        entry.settingsLink = text("settingsLink");
    }
    const auto now =
        std::chrono::time_point_cast<std::chrono::milliseconds>(std::chrono::system_clock::now());
    entry.openedAt =
        now - std::chrono::seconds(fields.value(QStringLiteral("age"), 0).toLongLong());
    return std::make_shared<const PortEntry>(std::move(entry));
}

} // namespace

SamplePanel::SamplePanel(QObject *parent)
    : QObject(parent)
    , m_model(
          m_state,
          {
              .kill =
                  [this](std::int64_t pid) {
                      request(QStringLiteral("kill %1").arg(pid));
                      return
                          []() -> QCoro::Task<KillResult> { co_return KillResult::Terminated; }();
                  },
              .scheduleRescan = [this] { request(QStringLiteral("rescan")); },
              .print =
                  [this](std::string_view line) {
                      request(QStringLiteral("print ") + QString::fromStdString(std::string(line)));
                  },
              .openSettings = [this] { request(QStringLiteral("settings")); },
              .quit = [this] { request(QStringLiteral("quit")); },
          },
          std::string(home))
{
    m_model.setActive(true);
}

void SamplePanel::forgetRequests()
{
    m_requests.clear();
    Q_EMIT requestsChanged();
}

void SamplePanel::request(const QString &what)
{
    m_requests += what;
    Q_EMIT requestsChanged();
}

void SamplePanel::open(const QVariantMap &fields)
{
    m_state.portOpened(entryOf(fields));
}

void SamplePanel::close(qint64 pid, qint64 port)
{
    PortEntry entry;
    entry.pid = pid;
    entry.port = port;
    m_state.portClosed(entry);
}

void SamplePanel::openMany(int count)
{
    for (int i = 0; i < count; ++i) {
        open({{QStringLiteral("port"), 10'000 + i},
              {QStringLiteral("pid"), 1'000 + i},
              {QStringLiteral("process"), QStringLiteral("worker-%1").arg(i)},
              {QStringLiteral("command"), QStringLiteral("/home/ann/bin/worker")},
              {QStringLiteral("cwd"), QStringLiteral("/home/ann/project")},
              {QStringLiteral("memoryBytes"), 1'000'000 + i}});
    }
}

PortRow SamplePanel::row(const QVariantMap &fields)
{
    return {entryOf(fields), home};
}

void SamplePanel::openUsual()
{
    using List = QVariantMap;
    const QString port = QStringLiteral("port");
    const auto entry = [this](List fields) { open(fields); };
    entry({{port, 22},
           {"pid", 611},
           {"process", "sshd"},
           {"tier", "system"},
           {"description", "Remote Login (SSH)"},
           {"settingsLink", "Sharing"},
           {"command", "/usr/sbin/sshd"},
           {"age", 300'000},
           {"memoryBytes", 9'437'184}});
    entry({{port, 631},
           {"pid", 702},
           {"process", "cupsd"},
           {"tier", "system"},
           {"description", "Printing"},
           {"command", "/usr/sbin/cupsd"},
           {"age", 290'000},
           {"memoryBytes", 12'582'912}});
    entry({{port, 3000},
           {"pid", 48'213},
           {"process", "node"},
           {"description", "node"},
           {"originArguments", QStringList{"npm", "run", "dev"}},
           {"command", "/home/ann/.nvm/versions/node/v20.11.0/bin/node"},
           {"cwd", "/home/ann/src/shop"},
           {"age", 7'500},
           {"memoryBytes", 187'000'000}});
    entry({{port, 5173},
           {"pid", 48'377},
           {"process", "node"},
           {"description", "Vite"},
           {"originArguments",
            QStringList{"node", "/home/ann/src/shop/node_modules/.bin/vite", "--host", "--config",
                        "/home/ann/src/shop/packages/storefront/vite.config.ts", "--mode",
                        "development", "--clearScreen", "false", "--strictPort"}},
           {"command", "/home/ann/.nvm/versions/node/v20.11.0/bin/node"},
           {"cwd", "/home/ann/src/shop/packages/storefront"},
           {"age", 7'380},
           {"memoryBytes", 243'269'632}});
    entry({{port, 5432},
           {"pid", 812},
           {"process", "postgres"},
           {"description", "PostgreSQL"},
           {"originArguments", QStringList{"/usr/lib/postgresql/15/bin/postgres", "-D",
                                           "/var/lib/postgresql/15/main"}},
           {"command", "/usr/lib/postgresql/15/bin/postgres"},
           {"cwd", "/var/lib/postgresql/15/main"},
           {"age", 273'600},
           {"memoryBytes", 31'457'280}});
    entry({{port, 6379},
           {"pid", 934},
           {"process", "redis-server"},
           {"description", "Redis"},
           {"originArguments", QStringList{"/usr/bin/redis-server", "127.0.0.1:6379"}},
           {"command", "/usr/bin/redis-server"},
           {"cwd", "/var/lib/redis"},
           {"age", 273'590},
           {"memoryBytes", 8'388'608}});
    entry({{port, 8000},
           {"pid", 51'002},
           {"process", "python3"},
           {"description", "python3"},
           {"originArguments", QStringList{"python3", "-m", "http.server"}},
           {"command", "/usr/bin/python3"},
           {"cwd", "/home/ann/site"},
           {"age", 42},
           {"memoryBytes", 19'922'944}});
    entry({{port, 9090},
           {"pid", 1'410},
           {"process", "Browser"},
           {"tier", "app"},
           {"description", "Browser"},
           {"command", "/opt/browser/browser"},
           {"age", 3'660},
           {"memoryBytes", 1'342'177'280}});
    entry({{port, 40'125},
           {"pid", 0},
           {"process", "unknown"},
           {"tier", "unknown"},
           {"description", "unknown"},
           {"age", 90}});
}

} // namespace Tarnwick

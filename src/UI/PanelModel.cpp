// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "UI/PanelModel.h"

#include "Models/PortTier.h"
#include "UI/Theme.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <utility>

namespace Tarnwick {

namespace {

using TierFilter = AppState::TierFilter;

struct Tab
{
    TierFilter filter;
    std::optional<PortTier> tier; ///< absent for every tier
};

/// Indexed by PanelModel::Filter.
constexpr std::array<Tab, 4> tabs{{
    {TierFilter::All, std::nullopt},
    {TierFilter::Dev, PortTier::Dev},
    {TierFilter::App, PortTier::App},
    {TierFilter::System, PortTier::System},
}};

const Tab &tabOf(PanelModel::Filter filter)
{
    return tabs.at(static_cast<std::size_t>(filter));
}

bool isSameProcess(const PortEntry &left, const PortEntry &right)
{
    return left.pid == right.pid &&
           std::chrono::abs(left.openedAt - right.openedAt) <= startTolerance;
}

QString text(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

} // namespace

PanelModel::PanelModel(AppState &state, Services services, std::string home, QObject *parent)
    : QObject(parent)
    , m_state(state)
    , m_services(std::move(services))
    , m_rows(std::move(home))
    , m_tabCounts(static_cast<qsizetype>(tabs.size()), 0)
{
    m_refreshTimer.setSingleShot(true);
    m_refreshTimer.setTimerType(Qt::PreciseTimer);
    m_refreshTimer.setInterval(frame);
    connect(&m_refreshTimer, &QTimer::timeout, this, &PanelModel::showNews);
    followState();
}

void PanelModel::followState()
{
    connect(&m_state, &AppState::portsChanged, this, &PanelModel::refreshSoon);
    connect(&m_state, &AppState::portsChanged, this, &PanelModel::noteEmptyState);
    connect(&m_state, &AppState::showSystemPortsChanged, this, &PanelModel::showNews);
    connect(&m_state, &AppState::selectedTierChanged, this, &PanelModel::showOtherList);
    connect(&m_state, &AppState::searchQueryChanged, this, &PanelModel::showOtherList);
}

void PanelModel::setActive(bool active)
{
    if (m_active == active) {
        return;
    }
    m_active = active;
    m_refreshTimer.stop();
    showNews();
    Q_EMIT activeChanged();
}

void PanelModel::refreshSoon()
{
    if (m_active && !m_refreshTimer.isActive()) {
        m_refreshTimer.start();
    }
}

void PanelModel::noteEmptyState()
{
    if (m_state.ports().empty()) {
        // A scan that failed does this as well, and says nothing about any process.
        m_wasListed = false;
    }
}

void PanelModel::showNews()
{
    if (m_active) {
        m_rows.setEntries(m_state.filteredPorts());
        refreshFigures();
    }
}

void PanelModel::showOtherList()
{
    if (m_active) {
        m_rows.replaceEntries(m_state.filteredPorts());
        refreshFigures();
    }
}

void PanelModel::refreshFigures()
{
    m_refreshTimer.stop();
    const std::map<PortTier, int> counts = m_state.tierCounts();
    const auto countOf = [this, &counts](const Tab &tab) {
        if (!tab.tier) {
            return static_cast<int>(m_state.ports().size());
        }
        const auto count = counts.find(*tab.tier);
        return count == counts.end() ? 0 : count->second;
    };
    m_tabCounts.clear();
    for (const Tab &tab : tabs) {
        m_tabCounts += countOf(tab);
    }
    Q_EMIT contentChanged();
    Q_EMIT selectedFilterChanged();
    Q_EMIT searchQueryChanged();
}

PanelModel::Region PanelModel::region() const
{
    if (m_tabCounts.at(All) == 0) {
        return Empty;
    }
    return m_rows.rowCount() == 0 ? NoMatches : List;
}

QString PanelModel::banner() const
{
    const int count = m_tabCounts.at(System);
    if (selectedFilter() != All || count == 0) {
        return {};
    }
    return QStringLiteral("%1 SYSTEM PORT%2 %3")
        .arg(count)
        .arg(count == 1 ? QString() : QStringLiteral("S"),
             m_state.showSystemPorts() ? QStringLiteral("SHOWN") : QStringLiteral("HIDDEN"));
}

QString PanelModel::bannerCall() const
{
    return m_state.showSystemPorts() ? QStringLiteral("click to hide")
                                     : QStringLiteral("click to show");
}

QString PanelModel::listenerCount() const
{
    return QStringLiteral("%1 listeners").arg(m_tabCounts.at(All));
}

QString PanelModel::filterName(Filter filter)
{
    return text(rawValue(tabOf(filter).filter)).toUpper();
}

QColor PanelModel::filterColor(Filter filter)
{
    const std::optional<PortTier> tier = tabOf(filter).tier;
    return tier ? Theme::fromColor(accentColor(*tier)) : Theme::textPrimary();
}

PanelModel::Filter PanelModel::selectedFilter() const
{
    return static_cast<Filter>(m_state.selectedTier());
}

void PanelModel::selectFilter(Filter filter)
{
    if (filter != selectedFilter()) {
        m_state.setSelectedTier(tabOf(filter).filter);
    }
}

QString PanelModel::searchQuery() const
{
    return text(m_state.searchQuery());
}

void PanelModel::setSearchQuery(const QString &query)
{
    m_state.setSearchQuery(query.toStdString());
}

void PanelModel::toggleSystemPorts()
{
    m_state.setShowSystemPorts(!m_state.showSystemPorts());
}

void PanelModel::openSettings() const
{
    m_services.openSettings();
}

void PanelModel::quit() const
{
    m_services.quit();
}

void PanelModel::requestKill(const PortRow &row)
{
    if (m_pendingKill) {
        return; // the question that is on the screen stays the one that is answered
    }
    m_wasListed = isListed(*row.entry());
    setPendingKill(row);
}

void PanelModel::cancelKill()
{
    setPendingKill(std::nullopt);
}

void PanelModel::confirmKill()
{
    if (!m_pendingKill) {
        return;
    }
    const SharedPortEntry entry = m_pendingKill->entry();
    setPendingKill(std::nullopt);
    const bool isGone = m_wasListed && !isProcessListed(*entry);
    performKill(m_services, entry, isGone || hasNewOwner(*entry));
}

void PanelModel::setPendingKill(std::optional<PortRow> row)
{
    m_pendingKill = std::move(row);
    if (m_pendingKill) {
        m_confirmedEntry = *m_pendingKill;
    }
    Q_EMIT pendingKillChanged();
}

QCoro::Task<void> PanelModel::performKill(SharedPortEntry entry) const
{
    const bool isGone = hasNewOwner(*entry);
    return performKill(m_services, std::move(entry), isGone);
}

bool PanelModel::isListed(const PortEntry &entry) const
{
    return std::ranges::any_of(
        m_state.ports(), [&entry](const SharedPortEntry &other) { return other->id == entry.id; });
}

bool PanelModel::hasNewOwner(const PortEntry &entry) const
{
    return !isListed(entry) &&
           std::ranges::any_of(m_state.ports(), [&entry](const SharedPortEntry &other) {
               return other->pid == entry.pid && !isSameProcess(*other, entry);
           });
}

bool PanelModel::isProcessListed(const PortEntry &entry) const
{
    return std::ranges::any_of(m_state.ports(), [&entry](const SharedPortEntry &other) {
        return isSameProcess(*other, entry);
    });
}

QCoro::Task<void> PanelModel::performKill(Services services, SharedPortEntry entry, bool isGone)
{
    if (entry->tier == PortTier::System) {
        co_return;
    }
    auto result = KillResult::NotFound;
    if (!isGone) {
        result = co_await services.kill(entry->pid);
    }
    services.scheduleRescan();
    services.print(killOutcomeLine(result, entry->port));
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "App/AppState.h"
#include "Shared/HelperProtocol.h"
#include "UI/PortListModel.h"
#include "UI/PortRow.h"

#include <QColor>
#include <QCoroTask>
#include <QObject>
#include <QQmlEngine>
#include <QString>
#include <QTimer>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace Tarnwick {

/// What the panel shows of the state, and what its controls do: everything but how it looks. While
/// the panel is not visible it does nothing; what changed meanwhile is there as soon as it is. The
/// list of ports is followed at most once a frame, however many changes a scan brings; what the
/// user does is followed at once. Main thread.
class PanelModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("it needs the services of the application")
    Q_PROPERTY(bool active READ isActive WRITE setActive NOTIFY activeChanged FINAL)
    Q_PROPERTY(Tarnwick::PortListModel *rows READ rows CONSTANT FINAL)
    Q_PROPERTY(Region region READ region NOTIFY contentChanged FINAL)
    Q_PROPERTY(QList<int> tabCounts READ tabCounts NOTIFY contentChanged FINAL)
    Q_PROPERTY(QString banner READ banner NOTIFY contentChanged FINAL)
    Q_PROPERTY(QString bannerCall READ bannerCall NOTIFY contentChanged FINAL)
    Q_PROPERTY(QString listenerCount READ listenerCount NOTIFY contentChanged FINAL)
    Q_PROPERTY(Filter selectedFilter READ selectedFilter WRITE selectFilter NOTIFY
                   selectedFilterChanged FINAL)
    Q_PROPERTY(
        QString searchQuery READ searchQuery WRITE setSearchQuery NOTIFY searchQueryChanged FINAL)
    Q_PROPERTY(bool confirming READ isConfirming NOTIFY pendingKillChanged FINAL)
    Q_PROPERTY(Tarnwick::PortRow confirmedEntry READ confirmedEntry NOTIFY pendingKillChanged FINAL)

public:
    /// What stands between the title and the footer.
    enum Region { Empty, NoMatches, List };
    Q_ENUM(Region)

    /// The tabs, in their order.
    enum Filter { All, Dev, App, System };
    Q_ENUM(Filter)

    /// What the panel asks of the rest of the program.
    struct Services
    {
        std::function<QCoro::Task<KillResult>(std::int64_t pid)> kill;
        std::function<void()> scheduleRescan;
        /// Writes one line, given without its end, to standard output at once.
        std::function<void(std::string_view line)> print;
        std::function<void()> openSettings;
        std::function<void()> quit;
    };

    /// The time of one frame, for which changes of the ports are gathered.
    static constexpr std::chrono::milliseconds frame{16};

    /// @p state outlives the panel. @p home is the folder that rows write "~".
    PanelModel(AppState &state, Services services, std::string home, QObject *parent = nullptr);

    /// Whether the panel is visible.
    [[nodiscard]] bool isActive() const { return m_active; }
    void setActive(bool active);

    [[nodiscard]] PortListModel *rows() { return &m_rows; }
    [[nodiscard]] Region region() const;
    /// For each tab how many entries it has in all, whatever is searched for.
    [[nodiscard]] QList<int> tabCounts() const { return m_tabCounts; }
    /// "3 SYSTEM PORTS HIDDEN"; empty when there is no banner.
    [[nodiscard]] QString banner() const;
    /// "click to show"
    [[nodiscard]] QString bannerCall() const;
    /// "12 listeners"
    [[nodiscard]] QString listenerCount() const;

    /// The name of a tab, and the colour that it has when it is selected.
    Q_INVOKABLE static QString filterName(Tarnwick::PanelModel::Filter filter);
    Q_INVOKABLE static QColor filterColor(Tarnwick::PanelModel::Filter filter);

    [[nodiscard]] Filter selectedFilter() const;
    void selectFilter(Filter filter);

    [[nodiscard]] QString searchQuery() const;
    void setSearchQuery(const QString &query);

    Q_INVOKABLE void toggleSystemPorts();
    Q_INVOKABLE void openSettings() const;
    Q_INVOKABLE void quit() const;

    /// Whether a kill waits for the user's confirmation, and of which entry; after the decision
    /// still that entry, for as long as the confirmation fades.
    [[nodiscard]] bool isConfirming() const { return m_pendingKill.has_value(); }
    [[nodiscard]] PortRow confirmedEntry() const { return m_confirmedEntry; }

    /// Asks for the confirmation. Whatever the list does until it is given, it is for this entry.
    Q_INVOKABLE void requestKill(const Tarnwick::PortRow &row);
    Q_INVOKABLE void cancelKill();
    /// Closes the confirmation and kills what it was for, unless its process has gone from the
    /// state meanwhile, which a state without entries does not prove. Nothing when nothing is
    /// pending.
    Q_INVOKABLE void confirmKill();

    /// Has the entry's process killed, asks for a rescan, then prints the outcome. An entry of the
    /// tier `system` is refused without a word, and one whose identifier the state knows to be
    /// another process's by now is already gone. May outlive the panel.
    QCoro::Task<void> performKill(SharedPortEntry entry) const; // NOLINT(modernize-use-nodiscard)

Q_SIGNALS:
    void activeChanged();
    void contentChanged();
    void selectedFilterChanged();
    void searchQueryChanged();
    void pendingKillChanged();

private:
    static QCoro::Task<void> performKill(Services services, SharedPortEntry entry, bool isGone);
    [[nodiscard]] bool isListed(const PortEntry &entry) const;
    [[nodiscard]] bool hasNewOwner(const PortEntry &entry) const;
    [[nodiscard]] bool isProcessListed(const PortEntry &entry) const;

    void followState();
    void refreshSoon();
    void noteEmptyState();
    void showNews();
    void showOtherList();
    void refreshFigures();
    void setPendingKill(std::optional<PortRow> row);

    AppState &m_state;
    Services m_services;
    PortListModel m_rows;
    QTimer m_refreshTimer;
    QList<int> m_tabCounts;
    std::optional<PortRow> m_pendingKill;
    PortRow m_confirmedEntry;
    /// The entry of the confirmation was, when that was asked for, and the state was never empty
    /// since.
    bool m_wasListed = false;
    bool m_active = false;
};

} // namespace Tarnwick

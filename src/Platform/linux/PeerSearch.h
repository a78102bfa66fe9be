// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/linux/BusLink.h"
#include "Platform/linux/HelperProgram.h"
#include "Platform/linux/ProcessWatch.h"

#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <variant>

#include <sys/types.h>

namespace Tarnwick {

/// Finds our helper on the bus, and starts it when it is not there: through the bus where it is
/// installed, else as a program. A helper of another copy of the application, or one that was
/// upgraded since it started, is replaced: ours is started to take the name over, which the other
/// one allows. Ends with the unique name of a process that is our helper, whose owner changes the
/// link then reports, or with the reason why there is none. Nothing is sent to a process before it
/// is known to be ours. Main thread; destroying it ends the search.
class PeerSearch : public QObject
{
public:
    struct Failure
    {
        std::string description;
    };
    using Result = std::variant<QString, Failure>;
    using Found = std::function<void(Result result)>;

    PeerSearch(std::shared_ptr<BusLink> link, HelperProgram program, Found found);
    ~PeerSearch() override;

    void start();

    /// To be told when @p owner, who may be nobody, has got the helper's name.
    void ownerChanged(const QString &owner);

private:
    void askForOwner(bool mayStart);
    void startThroughBus();
    void startProgram(const QStringList &arguments = {});
    void replace(const QString &why);
    [[nodiscard]] QString mismatch(pid_t owner) const;
    void verify(const QString &owner);
    void fail(const QString &why);
    void succeed(const QString &owner);

    std::shared_ptr<BusLink> m_link;
    HelperProgram m_program;
    Found m_found;
    bool m_hasReplaced = false; ///< once for each search, so that two copies do not alternate
    /// The program that was started, while its name is awaited.
    std::unique_ptr<ProcessWatch> m_started;
};

} // namespace Tarnwick

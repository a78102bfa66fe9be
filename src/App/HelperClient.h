// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Core/RawRecordSource.h"
#include "Platform/HelperConnection.h"
#include "Shared/HelperProtocol.h"

#include <QCoroTask>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace Tarnwick {

class FileViewer;
class SerialExecutor;

/// The application's only link to its helper. It owns one connection, made when it is needed and
/// dropped when it was interrupted or invalidated; the next request makes another. Failures become
/// an empty listing or `XpcUnavailable`, after a line in the log. There is no time-out and no
/// retry: when the platform reports that no reply will come (a proxy error), the call that waits
/// for it never completes. Any number of calls may be in flight. Main thread; callers on others are
/// moved there.
class HelperClient : public RawRecordSource
{
public:
    using Connect = std::function<std::unique_ptr<HelperConnection>()>;

    /// @p connect makes the connections; listings are decoded on @p decoder, which outlives the
    /// client and its calls.
    HelperClient(Connect connect, SerialExecutor &decoder);
    ~HelperClient() override;

    /// The one client of the program, made with the first call.
    [[nodiscard]] static HelperClient &shared();

    [[nodiscard]] QCoro::Task<std::vector<RawPortInfo>> xpcScan() override;

    /// Asks the helper to end the process with that identifier. When the last listing that was
    /// handed on came over another connection, or another one failed since, the helper is asked for
    /// a listing first: a process that it lacks, or that the one handed on lacks which came over
    /// another connection, or whose executable or start differs between them, is not found, and
    /// none is ended. Nor is one that was left out of what was handed on. An identifier that does
    /// not fit 32 bits is a programming error and stops the program.
    [[nodiscard]] QCoro::Task<KillResult> xpcKill(std::int64_t pid);

    /// Asks @p viewer to show the diagnostic log, whether it exists or not. Main thread.
    static void revealLogInFinder(FileViewer &viewer);

private:
    struct Link;

    static QCoro::Task<std::vector<RawPortInfo>> scan(std::shared_ptr<Link> link);
    static QCoro::Task<KillResult> kill(std::shared_ptr<Link> link, std::int64_t pid);

    std::shared_ptr<Link> m_link;
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/HelperConnection.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Tarnwick {

/// A connection behind which a test plays the helper: what is done to it is written down, and
/// replies and handlers are called by the test: when it likes, as often as it likes and on what
/// thread it likes.
class FakeHelperConnection : public HelperConnection
{
public:
    struct Listing
    {
        HelperProxy::ListReply reply;
        ErrorHandler failed;
    };
    struct Kill
    {
        std::int32_t pid = 0;
        HelperProxy::KillReply reply;
        ErrorHandler failed;
    };

    /// What a test sees and rules of one connection. Outlives the connection and its proxies.
    struct Record
    {
        bool offersProxy = true;
        std::vector<std::string> calls; ///< the names of the connection's operations, in order
        Handler invalidated;
        Handler interrupted;
        std::vector<Listing> listings; ///< as requested, in order
        std::vector<Kill> kills;
        bool isFreed = false; ///< whether the connection itself is gone
    };

    explicit FakeHelperConnection(std::shared_ptr<Record> record);
    ~FakeHelperConnection() override;

    void setInvalidationHandler(Handler handler) override;
    void setInterruptionHandler(Handler handler) override;
    void resume() override;
    [[nodiscard]] std::shared_ptr<HelperProxy> remoteObjectProxy(ErrorHandler failed) override;

private:
    std::shared_ptr<Record> m_record;
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/BusLink.h"

#include "tests/Platform/Polling.h"
#include "tests/Support/PrivateBus.h"
#include "tests/Support/ScopedEnvironment.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEvent>
#include <QString>

#include <memory>
#include <utility>
#include <vector>

namespace Tarnwick {
namespace {

using Links = std::vector<std::shared_ptr<BusLink>>;

class BusLinkTest : public ::testing::Test
{
protected:
    /// A link to the bus, opened by something that holds @p held and is forgotten when Tarnwick
    /// likes.
    [[nodiscard]] static std::shared_ptr<BusLink> open(Links held = {})
    {
        std::shared_ptr<BusLink> opened;
        bool told = false;
        BusLink::open([held = std::move(held), &opened, &told](std::shared_ptr<BusLink> link,
                                                               const QString &failure) {
            EXPECT_TRUE(link) << failure.toStdString();
            opened = std::move(link);
            told = true;
        });
        EXPECT_TRUE(awaitOutside([&told] { return told; }));
        // What is left of the call goes, but for what Tarnwick keeps.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return opened;
    }

    PrivateBus m_bus;
    ScopedEnvironment m_environment{"DBUS_SESSION_BUS_ADDRESS", m_bus.address()};
};

TEST_F(BusLinkTest, MayEndAsTheOpeningOfAnotherIsForgotten)
{
    for (int round = 0; round < 5; ++round) {
        Links held;
        for (int count = 0; count < 8; ++count) {
            held.push_back(open());
        }
        // What opened this one has the last hold on the others; with each of the next it may go.
        const std::shared_ptr<BusLink> holder = open(std::move(held));
        const std::shared_ptr<BusLink> next = open();
        ASSERT_TRUE(next);
        EXPECT_TRUE(next->connection().isConnected());
    }
}

TEST_F(BusLinkTest, TellsWhyThereIsNone)
{
    m_bus.stop();
    QString told;
    bool isLinked = true;
    BusLink::open([&](const std::shared_ptr<BusLink> &link, const QString &failure) {
        isLinked = link != nullptr;
        told = failure;
    });
    EXPECT_TRUE(awaitOutside([&told] { return !told.isEmpty(); }));
    EXPECT_FALSE(isLinked);
}

} // namespace
} // namespace Tarnwick

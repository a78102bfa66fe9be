// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/QuickPopover.h"

#include "tests/Support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QTest>
#include <QUrl>
#include <QWindow>

#include <fstream>

namespace Tarnwick {
namespace {

/// Where no clicks can be watched, so that it is all about the keyboard.
class QuickPopoverTest : public ::testing::Test
{
protected:
    static constexpr QSize size{200, 100};
    static constexpr QRect icon{10, 0, 20, 20};

    QuickPopoverTest()
    {
        std::ofstream(m_folder.path() / "Content.qml") << "import QtQuick\nItem {}\n";
        m_other.resize(50, 50);
        m_other.show();
    }

    /// The popover, shown and with the keyboard.
    [[nodiscard]] QWindow *open()
    {
        m_popover.show(icon);
        return QTest::qWaitFor([this] {
            return QGuiApplication::focusWindow() != nullptr &&
                   QGuiApplication::focusWindow() != &m_other;
        })
                   ? QGuiApplication::focusWindow()
                   : nullptr;
    }

    TemporaryFolder m_folder;
    QWindow m_other;
    QuickPopover m_popover{
        QUrl::fromLocalFile(QString::fromStdString((m_folder.path() / "Content.qml").string())),
        size};
};

TEST_F(QuickPopoverTest, ClosesWhenTheKeyboardGoesToAnotherWindow)
{
    ASSERT_NE(open(), nullptr);
    m_other.requestActivate();
    EXPECT_TRUE(QTest::qWaitFor([this] { return !m_popover.isShown(); }));
}

TEST_F(QuickPopoverTest, StaysWhenTheKeyboardComesBackAtOnce)
{
    QWindow *window = open();
    ASSERT_NE(window, nullptr);
    bool wasLost = false;
    QObject::connect(qGuiApp, &QGuiApplication::focusWindowChanged, &m_other,
                     [&](const QWindow *now) { wasLost = wasLost || now == &m_other; });
    // Both arrive in one turn of the event loop, however slow the machine is.
    m_other.requestActivate();
    window->requestActivate();
    ASSERT_TRUE(QTest::qWaitFor([&] { return wasLost && window->isActive(); }));
    EXPECT_FALSE(QTest::qWaitFor([this] { return !m_popover.isShown(); }, 1000));
}

TEST_F(QuickPopoverTest, KnowsTheClickThatTookTheKeyboard)
{
    ASSERT_NE(open(), nullptr);
    EXPECT_FALSE(m_popover.wasClosedByThisClick());
    m_other.requestActivate();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !m_popover.isShown(); }));
    EXPECT_TRUE(m_popover.wasClosedByThisClick());
    EXPECT_TRUE(QTest::qWaitFor([this] { return !m_popover.wasClosedByThisClick(); }));
}

TEST_F(QuickPopoverTest, TakesAClickAfterAnEscapeForAnother)
{
    ASSERT_NE(open(), nullptr);
    m_popover.close();
    EXPECT_FALSE(m_popover.wasClosedByThisClick());
}

} // namespace
} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/IsolatedEnvironment.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QQuickWindow>

/// Runs the tests beside an application that draws as the panel does, with no display.
int main(int argc, char *argv[])
{
    static const Tarnwick::IsolatedEnvironment environment;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleTest(&argc, argv);
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QGuiApplication application(argc, argv);
    return RUN_ALL_TESTS();
}

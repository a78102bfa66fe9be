// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/IsolatedEnvironment.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QQuickWindow>

/// Runs the tests beside an application with windows, with no display.
int main(int argc, char *argv[])
{
    static const Tarnwick::IsolatedEnvironment environment;
    testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}

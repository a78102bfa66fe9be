// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Support/IsolatedEnvironment.h"

#include <QObject>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QtQuickTest>

#include <array>

namespace {

/// Lets the tests find the modules that are built into this program.
class Setup : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    static void qmlEngineAvailable(QQmlEngine *engine)
    {
        engine->addImportPath(QStringLiteral(":/qt/qml"));
    }
};

} // namespace

/// Runs one tst_*.qml, given with -input, drawing as the panel does and with no display.
int main(int argc, char *argv[])
{
    static const Tarnwick::IsolatedEnvironment environment;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    Setup setup;
    return quick_test_main_with_setup(argc, argv, "Views", nullptr, &setup);
}

#include "QuickTestMain.moc"

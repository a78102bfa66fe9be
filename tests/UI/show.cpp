// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

// Writes a picture of every scene, to look at: show FOLDER [SCALE] [SCENE].

#include "tests/UI/Scene.h"

#include <QDir>
#include <QGuiApplication>
#include <QQuickWindow>

#include <cstdio>

int main(int argc, char *argv[])
{
    if (argc < 2) {
        std::fputs("usage: show FOLDER [SCALE] [SCENE]\n", stderr);
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_SCALE_FACTOR", argc > 2 ? argv[2] : "1");
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QGuiApplication application(argc, argv);
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    for (const QString &name : Tarnwick::Scene::names()) {
        if (argc > 3 && name != QString::fromLocal8Bit(argv[3])) {
            continue;
        }
        const QImage picture = Tarnwick::Scene::picture(name);
        if (!picture.save(folder.filePath(name + QStringLiteral(".png")))) {
            std::fprintf(stderr, "%s: no picture\n", qPrintable(name));
            return 1;
        }
    }
    return 0;
}

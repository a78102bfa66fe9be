// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/UI/Scene.h"

#include "tests/Support/EventLoop.h"
#include "tests/UI/SceneFolder.h"

#include <QDir>
#include <QElapsedTimer>
#include <QPointF>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QTest>

namespace Tarnwick {

namespace {

constexpr std::chrono::milliseconds longestAnimation{300};

} // namespace

QStringList Scene::names()
{
    QStringList names;
    for (const QString &file : QDir(sceneFolder()).entryList({QStringLiteral("*.qml")})) {
        names += file.chopped(4);
    }
    return names;
}

QImage Scene::picture(const QString &name)
{
    QQuickView view;
    view.engine()->addImportPath(QStringLiteral(":/qt/qml"));
    view.setColor(QColor(60, 60, 60));
    view.setSource(QUrl::fromLocalFile(sceneFolder() + u'/' + name + QStringLiteral(".qml")));
    if (view.status() != QQuickView::Ready) {
        return {};
    }
    view.show();
    if (!QTest::qWaitForWindowExposed(&view)) {
        return {};
    }
    view.requestActivate();
    const QVariant hoverAt = view.rootObject()->property("hoverAt");
    if (hoverAt.isValid()) {
        QTest::mouseMove(&view, hoverAt.toPointF().toPoint() - QPoint(1, 1));
        QTest::mouseMove(&view, hoverAt.toPointF().toPoint());
    }
    if (view.rootObject()->metaObject()->indexOfMethod("prepare()") >= 0) {
        QMetaObject::invokeMethod(view.rootObject(), "prepare");
    }
    QElapsedTimer clock;
    clock.start();
    static_cast<void>(
        await([&clock] { return clock.hasExpired(longestAnimation.count()); }, longestAnimation));
    return view.grabWindow();
}

} // namespace Tarnwick

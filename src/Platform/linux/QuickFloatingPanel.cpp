// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/QuickFloatingPanel.h"

#include "Platform/AnchoredPlacement.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>

#include <utility>

namespace Tarnwick {

std::unique_ptr<FloatingPanel> FloatingPanel::make(const QUrl &content, QSize size)
{
    return std::make_unique<QuickFloatingPanel>(content, size);
}

QuickFloatingPanel::QuickFloatingPanel(const QUrl &content, QSize size)
    : m_view(std::make_unique<QQuickView>())
{
    // A tool tip is what X11 knows that is above everything, everywhere, and never active.
    m_view->setFlags(Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                     Qt::WindowDoesNotAcceptFocus);
    m_view->setTitle(QStringLiteral("Tarnwick"));
    m_view->setColor(Qt::transparent);
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    m_view->resize(size);
    m_view->engine()->addImportPath(QStringLiteral(":/qt/qml"));
    m_view->setSource(content);
    if (m_view->rootObject() != nullptr) {
        connect(m_view->rootObject(), SIGNAL(dismiss()), this, SLOT(dismissed()));
    }
}

QuickFloatingPanel::~QuickFloatingPanel()
{
    // The view may be in the middle of telling about the click that ends this.
    m_view->hide();
    m_view.release()->deleteLater();
}

void QuickFloatingPanel::setDismissHandler(Handler handler)
{
    m_dismissed = std::move(handler);
}

void QuickFloatingPanel::show(const QRect &anchor, int gap)
{
    const QScreen *there = QGuiApplication::screenAt(anchor.center());
    const QScreen *screen = there != nullptr ? there : QGuiApplication::primaryScreen();
    const QRect place = AnchoredPlacement::below(anchor, m_view->size(), gap, screen->geometry());
    m_view->setGeometry(place);
    if (QQuickItem *content = m_view->rootObject()) {
        content->setProperty("isAbove", place.bottom() < anchor.top());
    }
    m_view->show();
}

void QuickFloatingPanel::dismissed()
{
    if (const Handler handler = m_dismissed) {
        handler();
    }
}

} // namespace Tarnwick

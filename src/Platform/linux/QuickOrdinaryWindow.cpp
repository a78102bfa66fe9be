// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/QuickOrdinaryWindow.h"

#include "Platform/linux/Workspaces.h"
#include "Platform/linux/X11Display.h"

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickView>
#include <QScreen>

#include <utility>

namespace Tarnwick {

namespace {

/// The property by which Qt's widgets show a window without activating it (Qt::
/// WA_ShowWithoutActivating): on X11 its _NET_WM_USER_TIME is then 0.
constexpr const char *withoutFocus = "_q_showWithoutActivating";

/// The screen that the user looks at, as far as can be known.
const QScreen &currentScreen()
{
    const QScreen *there = QGuiApplication::screenAt(QCursor::pos());
    return there != nullptr ? *there : *QGuiApplication::primaryScreen();
}

void centre(QWindow &window, QSize size)
{
    const QRect area = currentScreen().availableGeometry();
    QRect place(QPoint(), size.boundedTo(area.size()));
    place.moveCenter(area.center());
    window.setMinimumSize(place.size());
    window.setMaximumSize(place.size());
    window.setGeometry(place);
}

} // namespace

std::unique_ptr<OrdinaryWindow> OrdinaryWindow::make(const Description &description)
{
    return std::make_unique<QuickOrdinaryWindow>(description);
}

QuickOrdinaryWindow::QuickOrdinaryWindow(Description description)
    : m_description(std::move(description))
{
}

QuickOrdinaryWindow::~QuickOrdinaryWindow()
{
    if (m_view) {
        // The view may be in the middle of telling about what ends this.
        m_view->removeEventFilter(this);
        m_view->hide();
        m_view.release()->deleteLater();
    }
}

void QuickOrdinaryWindow::show()
{
    if (!m_view) {
        makeView();
    }
    if (m_view->windowStates().testFlag(Qt::WindowMinimized)) {
        m_view->showNormal();
    }
    m_view->setProperty(withoutFocus, false);
    Workspaces::bringToUser(*m_view);
    m_view->show();
    m_view->raise();
    m_view->requestActivate();
}

void QuickOrdinaryWindow::showWithoutFocus()
{
    if (x11Display() == nullptr || (m_view && m_view->isVisible())) {
        return;
    }
    if (!m_view) {
        makeView();
    }
    m_view->setProperty(withoutFocus, true);
    m_view->show();
}

void QuickOrdinaryWindow::makeView()
{
    m_view = std::make_unique<QQuickView>();
    m_view->setTitle(m_description.title);
    m_view->setObjectName(m_description.identifier);
    m_view->setFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                     Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint |
                     Qt::WindowCloseButtonHint);
    m_view->setColor(Qt::black);
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    // The picture of a hidden window is memory for nothing.
    m_view->setPersistentSceneGraph(false);
    centre(*m_view, m_description.size);
    m_view->engine()->addImportPath(QStringLiteral(":/qt/qml"));
    m_view->setSource(m_description.content);
    m_view->installEventFilter(this);
}

void QuickOrdinaryWindow::setClosedHandler(Handler handler)
{
    m_closed = std::move(handler);
}

bool QuickOrdinaryWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::Close) {
        return QObject::eventFilter(watched, event);
    }
    event->ignore();
    m_view->hide();
    if (const Handler handler = m_closed) {
        handler();
    }
    return true;
}

} // namespace Tarnwick

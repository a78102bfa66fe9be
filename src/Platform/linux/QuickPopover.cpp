// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/QuickPopover.h"

#include "Platform/AnchoredPlacement.h"
#include "Platform/linux/IdleMemory.h"
#include "Platform/linux/OutsideClicks.h"
#include "Platform/linux/PopoverView.h"
#include "Platform/linux/TaskBars.h"

#include <QCursor>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QScreen>

#include <chrono>
#include <utility>

namespace Tarnwick {

namespace {

/// From the loss of the keyboard to the click as the tray reports it.
constexpr std::chrono::milliseconds clickDelay{400};

/// From the release of the mouse button to the same, on a busy machine. Another click is seen to
/// begin; reports come in the order of their clicks.
constexpr std::chrono::milliseconds reportDelay{2000};

constexpr int mostPixels = (1 << 24) - 1; // as QWindow::maximumSize() is at first
constexpr QSize unbounded{mostPixels, mostPixels};

/// Within which a keyboard that only changed hands is back: the menu that has just opened the panel
/// gives it up meanwhile.
constexpr std::chrono::milliseconds handOver{100};

/// From the request for the keyboard until it is there, on a busy machine.
constexpr std::chrono::milliseconds activationTime{3000};

/// After it was made, the start of the application is over by then.
constexpr std::chrono::milliseconds startTime{1000};

constexpr Qt::WindowFlags popoverFlags = Qt::Tool | Qt::FramelessWindowHint;
constexpr Qt::WindowFlags windowFlags = Qt::Window;

const QScreen *screenOf(const QRect &anchor)
{
    const QScreen *there = QGuiApplication::screenAt(anchor.center());
    return there != nullptr ? there : QGuiApplication::primaryScreen();
}

} // namespace

std::unique_ptr<Popover> Popover::make(const QUrl &content, QSize size)
{
    return std::make_unique<QuickPopover>(content, size);
}

QuickPopover::QuickPopover(QUrl content, QSize size)
    : m_content(std::move(content))
    , m_size(size)
{
    m_endOfWatch.setSingleShot(true);
    m_endOfWatch.setInterval(reportDelay + clickDelay);
    m_endOfWatch.callOnTimeout(this, &QuickPopover::endWatch);
    m_focusCheck.setSingleShot(true);
    m_focusCheck.callOnTimeout(this, [this] {
        if (isShown() && m_form == Form::Popover && !m_view->isActive()) {
            focusLost();
        }
    });
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, &QuickPopover::focusMoved);
}

QuickPopover::~QuickPopover() = default;

void QuickPopover::prepare()
{
    if (m_view) {
        return;
    }
    makeView();
    QTimer::singleShot(startTime, this, [this] {
        if (!isShown()) {
            dropMemory();
        }
    });
}

void QuickPopover::makeView()
{
    m_view = std::make_unique<PopoverView>();
    m_view->setTitle(QStringLiteral("Tarnwick"));
    m_view->setFlags(popoverFlags);
    m_view->setColor(Qt::black);
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    m_view->resize(m_size);
    // The picture of a hidden window is memory for nothing.
    m_view->setPersistentSceneGraph(false);
    m_view->engine()->addImportPath(QStringLiteral(":/qt/qml"));
    m_view->setSource(m_content);
    m_view->create();
    connect(m_view.get(), &PopoverView::escapePressed, this, [this] {
        // The window is all there is of the application, which an Escape too many must not end.
        if (m_form == Form::Popover) {
            close();
        }
    });
    connect(m_view.get(), &PopoverView::closeRequested, this, &QuickPopover::closedByUser);
}

bool QuickPopover::isShown() const
{
    return m_view && m_view->isVisible();
}

bool QuickPopover::wasClosedByThisClick()
{
    if (m_clicks) {
        m_clicks->catchUp();
    }
    if (isShown()) {
        return !std::exchange(m_secondMayCome, QDeadlineTimer()).hasExpired();
    }
    switch (m_closing) {
    case Closing::ByOther:
        return false;
    case Closing::ByPress:
        return true;
    case Closing::ByClick:
    case Closing::ByFocus:
        return !m_clickMayCome.hasExpired();
    case Closing::ByEarlierClick:
        // The report of that click, or of the one that followed and is to show it: if both were on
        // the status item, the other report is still to come.
        if (!m_clickMayCome.hasExpired()) {
            m_secondMayCome.setRemainingTime(reportDelay);
        }
        return false;
    }
    return false;
}

void QuickPopover::show(const std::optional<QRect> &anchor)
{
    prepare();
    takeForm(anchor ? Form::Popover : Form::Window);
    if (anchor && !isShown()) {
        const QRect area = screenOf(*anchor)->availableGeometry();
        m_view->setGeometry(
            AnchoredPlacement::below(*anchor, m_size.boundedTo(area.size()), 0, area));
        TaskBars::leaveOut(*m_view);
    }
    m_hadFocus = isShown() && m_view->isActive();
    if (m_focusCheck.isActive()) {
        m_focusCheck.start(activationTime); // it is about to get the keyboard again
    }
    m_view->show();
    m_view->raise();
    m_view->requestActivate();
    if (anchor) {
        watchClicks();
    }
}

void QuickPopover::takeForm(Form form)
{
    if (m_form == form) {
        return;
    }
    m_form = form;
    // Made anew: window managers look at what a window is when it appears.
    m_view->destroy();
    m_view->setFlags(form == Form::Popover ? popoverFlags : windowFlags);
    // The content is drawn for one size.
    const QSize size = m_size.boundedTo(m_view->screen()->availableSize());
    m_view->setMinimumSize(form == Form::Window ? size : QSize());
    m_view->setMaximumSize(form == Form::Window ? size : unbounded);
    m_view->create();
}

void QuickPopover::watchClicks()
{
    if (m_clicks) {
        return;
    }
    m_clicks = std::make_unique<OutsideClicks>();
    connect(m_clicks.get(), &OutsideClicks::pressed, this, &QuickPopover::pressedSomewhere);
    connect(m_clicks.get(), &OutsideClicks::released, this, &QuickPopover::releasedSomewhere);
}

void QuickPopover::pressedSomewhere()
{
    m_secondMayCome = QDeadlineTimer();
    if (isShown()) {
        if (!m_view->geometry().contains(QCursor::pos())) {
            close();
            m_closing = Closing::ByPress;
        }
    } else if (m_closing == Closing::ByPress || m_closing == Closing::ByClick) {
        m_closing = Closing::ByEarlierClick;
    } else if (m_closing == Closing::ByFocus) {
        m_closing = Closing::ByOther;
    }
}

void QuickPopover::releasedSomewhere()
{
    if (m_closing == Closing::ByPress) {
        m_closing = Closing::ByClick;
        m_clickMayCome.setRemainingTime(reportDelay);
    }
}

void QuickPopover::endWatch()
{
    if (m_closing == Closing::ByPress) {
        m_endOfWatch.start();
    } else if (!isShown()) {
        m_clicks.reset();
    }
}

void QuickPopover::focusMoved(const QWindow *window)
{
    if (!isShown() || m_form == Form::Window) {
        return;
    }
    if (window == m_view.get()) {
        m_hadFocus = true;
        return;
    }
    if (std::exchange(m_hadFocus, false)) {
        m_focusCheck.start(handOver);
    } else if (!m_focusCheck.isActive()) {
        // Qt tells late of a loss: of this showing, or still of the one before.
        m_focusCheck.start(activationTime);
    }
}

void QuickPopover::focusLost()
{
    close();
    // Where clicks are watched, one that takes the keyboard has closed it before.
    m_closing = m_clicks->isWatching() ? Closing::ByOther : Closing::ByFocus;
    m_clickMayCome.setRemainingTime(clickDelay);
}

void QuickPopover::close()
{
    if (!isShown()) {
        return;
    }
    m_closing = Closing::ByOther;
    m_view->hide();
    m_endOfWatch.start();
    dropMemory();
}

void QuickPopover::closedByUser()
{
    close();
    if (m_form == Form::Window && m_windowClosed) {
        m_windowClosed();
    }
}

void QuickPopover::dropMemory()
{
    m_view->releaseResources();
    m_view->engine()->collectGarbage();
    IdleMemory::release();
}

void QuickPopover::setWindowClosedHandler(Handler handler)
{
    m_windowClosed = std::move(handler);
}

} // namespace Tarnwick

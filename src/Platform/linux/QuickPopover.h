// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Platform/Popover.h"

#include <QDeadlineTimer>
#include <QObject>
#include <QTimer>

#include <cstdint>
#include <memory>

class QWindow;

namespace Tarnwick {

class OutsideClicks;
class PopoverView;

/// The popover as a window of Qt Quick, made when it is first needed and kept from then on. While
/// it is hidden it holds no picture.
class QuickPopover : public QObject, public Popover
{
    Q_OBJECT

public:
    QuickPopover(QUrl content, QSize size);
    ~QuickPopover() override;

    void prepare() override;
    [[nodiscard]] bool isShown() const override;
    [[nodiscard]] bool wasClosedByThisClick() override;
    void show(const std::optional<QRect> &anchor) override;
    void close() override;
    void setWindowClosedHandler(Handler handler) override;

private:
    enum class Form : std::uint8_t { Popover, Window };

    /// How it was closed, as far as a click that is still to be reported may be the reason.
    enum class Closing : std::uint8_t {
        ByOther,
        ByPress,
        ByClick,
        ByEarlierClick, ///< and another button press followed
        ByFocus,
    };

    void makeView();
    void takeForm(Form form);
    void watchClicks();
    void pressedSomewhere();
    void releasedSomewhere();
    void endWatch();
    void focusMoved(const QWindow *window);
    void focusLost();
    void closedByUser();
    void dropMemory();

    QUrl m_content;
    QSize m_size;
    Form m_form = Form::Popover;
    Handler m_windowClosed;
    std::unique_ptr<PopoverView> m_view;
    std::unique_ptr<OutsideClicks> m_clicks;
    bool m_hadFocus = false;
    Closing m_closing = Closing::ByOther;
    QDeadlineTimer m_clickMayCome;  ///< until then, a click is the one that closed it
    QDeadlineTimer m_secondMayCome; ///< until then, a click is one that was answered already
    QTimer m_endOfWatch;
    QTimer m_focusCheck;
};

} // namespace Tarnwick

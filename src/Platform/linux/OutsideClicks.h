// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>

struct xcb_connection_t;

namespace Tarnwick {

/// Tells of every press and release of a mouse button on an X display, in whatever window: a click
/// on a desktop's background or on a panel takes the keyboard from nobody. Only watches; the click
/// goes where it went before. Tells nothing on other displays. Main thread.
class OutsideClicks : public QObject
{
    Q_OBJECT

public:
    /// Begins to watch.
    OutsideClicks();
    ~OutsideClicks() override;

    /// Whether this display lets it.
    [[nodiscard]] bool isWatching() const { return m_arrivals && m_arrivals->isEnabled(); }

    /// Tells now what has happened already. The events of windows come over another connection, and
    /// so may arrive earlier: this asks the display server and waits for its reply.
    void catchUp();

Q_SIGNALS:
    void pressed();
    void released();

private:
    struct Disconnecting
    {
        void operator()(xcb_connection_t *display) const;
    };

    void readEvents();

    std::unique_ptr<xcb_connection_t, Disconnecting> m_display;
    std::unique_ptr<QSocketNotifier> m_arrivals;
};

} // namespace Tarnwick

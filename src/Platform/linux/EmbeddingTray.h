// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>

#include <cstdint>

struct xcb_connection_t;

namespace Tarnwick {

/// Whether the X display has a tray that embeds the windows of icons (System Tray Protocol of
/// freedesktop.org). False on other displays. Main thread.
class EmbeddingTray : public QObject, public QAbstractNativeEventFilter
{
    Q_OBJECT

public:
    EmbeddingTray();
    ~EmbeddingTray() override;

    [[nodiscard]] bool isPresent() const { return m_owner != 0; }

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

Q_SIGNALS:
    void changed();

private:
    void look();

    xcb_connection_t *m_display = nullptr;
    std::uint32_t m_selection = 0; ///< the atom that a tray owns
    std::uint32_t m_manager = 0;   ///< the atom of the message by which one announces itself
    std::uint32_t m_owner = 0;     ///< the tray's window
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QString>

#include <cstdint>
#include <string>

namespace Tarnwick {

/// Another instance of the application, as the bus sees it: the owner of its name, with a
/// connection of its own. It belongs to the test's own process.
class OtherInstance : public QDBusVirtualObject
{
    Q_OBJECT

public:
    enum class Manner : std::uint8_t {
        Answers, ///< whatever it is asked
        Hangs,
        Ends, ///< instead of answering
    };

    /// Has the name when the constructor returns. Throws std::runtime_error when it cannot be had.
    OtherInstance(const std::string &busAddress, Manner manner);
    ~OtherInstance() override;

    /// How often it was called.
    [[nodiscard]] int calls() const { return m_calls; }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;
    [[nodiscard]] QString introspect(const QString & /*path*/) const override { return {}; }

private:
    void leave();

    QDBusConnection m_bus;
    Manner m_manner;
    int m_calls = 0;
};

} // namespace Tarnwick

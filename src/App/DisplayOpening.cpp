// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/DisplayOpening.h"

#include "Core/NeverDestroyed.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

namespace Tarnwick {

namespace {

/// By which Qt chooses, and finds, its display.
constexpr std::array<const char *, 3> variables{"QT_QPA_PLATFORM", "WAYLAND_DISPLAY", "DISPLAY"};

QStringList &held()
{
    static NeverDestroyed<QStringList> messages;
    return *messages;
}

void write(const std::string &line)
{
    std::fputs((line + "\n").c_str(), stderr);
}

void receive(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type != QtFatalMsg) {
        held().append(qFormatLogMessage(type, context, message));
        return;
    }
    write(DisplayOpening::refusal());
    // Nothing has begun that would have to end.
    std::_Exit(EXIT_FAILURE);
}

} // namespace

DisplayOpening::DisplayOpening()
{
    qInstallMessageHandler(&receive);
}

DisplayOpening::~DisplayOpening()
{
    qInstallMessageHandler(nullptr);
    for (const QString &message : held()) {
        write(message.toStdString());
    }
    held().clear();
}

bool DisplayOpening::isWorthTrying()
{
    return std::any_of(variables.begin(), variables.end(),
                       [](const char *name) { return !qEnvironmentVariableIsEmpty(name); });
}

std::string DisplayOpening::refusal()
{
    QStringList tried;
    for (const char *name : variables) {
        const QByteArray value = qgetenv(name);
        if (!value.isEmpty()) {
            tried.append(QString::fromLatin1(name) + u'=' + QString::fromLocal8Bit(value));
        }
    }
    const std::string told =
        tried.isEmpty() ? "" : " (" + tried.join(QStringLiteral(", ")).toStdString() + ")";
    return "tarnwick: there is no display" + told + "; in the terminal, use tarnwickctl";
}

} // namespace Tarnwick

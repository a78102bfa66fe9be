// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/BusFileViewer.h"

#include "Platform/linux/BusLink.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <utility>

namespace Tarnwick {

namespace {

void openFolder(const std::filesystem::path &file)
{
    QProcess::startDetached(QStringLiteral("xdg-open"),
                            {QString::fromLatin1(BusFileViewer::url(file.parent_path()))});
}

QDBusMessage showItems(const std::filesystem::path &file)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    message << QStringList{QString::fromLatin1(BusFileViewer::url(file))} << QString();
    return message;
}

void ask(std::shared_ptr<BusLink> link, const std::filesystem::path &file)
{
    const QDBusConnection connection = link->connection();
    // What waits for the reply keeps the link.
    BusCall::sendToOwner(
        connection, showItems(file), QCoreApplication::instance(),
        [file, link = std::move(link)](const QDBusMessage &reply) {
            if (reply.type() != QDBusMessage::ReplyMessage) {
                openFolder(file);
            }
        },
        {.timeout = BusCall::defaultTimeout, .afterForgery = BusCall::AfterForgery::Fail});
}

} // namespace

std::unique_ptr<FileViewer> FileViewer::ofThisDesktop()
{
    return std::make_unique<BusFileViewer>();
}

void BusFileViewer::reveal(const std::filesystem::path &file)
{
    BusLink::open([file](std::shared_ptr<BusLink> link, const QString & /*failure*/) {
        if (link) {
            ask(std::move(link), file);
        } else {
            openFolder(file);
        }
    });
}

QByteArray BusFileViewer::url(const std::filesystem::path &file)
{
    return "file://" + QByteArray(file.c_str()).toPercentEncoding("/");
}

} // namespace Tarnwick

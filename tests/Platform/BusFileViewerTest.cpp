// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Platform/linux/BusFileViewer.h"

#include "tests/Platform/Polling.h"
#include "tests/Support/PrivateBus.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDBusError>
#include <QDBusReply>
#include <QObject>
#include <QStringList>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace Tarnwick {

/// A file manager that writes down what it shall show, or refuses.
class FileManagerStandIn : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    QStringList shown;
    bool refuses = false;

    // NOLINTNEXTLINE(readability-identifier-naming): the method's name on the bus
    Q_SCRIPTABLE void ShowItems(const QStringList &uris, const QString & /*startup*/)
    {
        if (refuses) {
            sendErrorReply(QDBusError::Failed, QStringLiteral("no"));
        }
        shown += uris;
    }
};

namespace {

using testing::ElementsAre;
namespace fs = std::filesystem;

const QString connectionName = QStringLiteral("file-manager");

class BusFileViewerTest : public testing::Test
{
protected:
    BusFileViewerTest()
    {
        sessionBus().start();
        // An opener in the place of the desktop's.
        std::ofstream(m_folder.path() / "xdg-open")
            << "#!/bin/sh\necho \"$1\" > '" << m_opened.string() << ".part'\nmv '"
            << m_opened.string() << ".part' '" << m_opened.string() << "'\n";
        fs::permissions(m_folder.path() / "xdg-open", fs::perms(0755));
    }
    ~BusFileViewerTest() override
    {
        QDBusConnection::disconnectFromBus(connectionName);
        sessionBus().stop();
    }

    static PrivateBus &sessionBus()
    {
        static PrivateBus bus;
        static const ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", bus.address());
        return bus;
    }

    void startFileManager()
    {
        QDBusConnection bus = QDBusConnection::connectToBus(
            QString::fromStdString(sessionBus().address()), connectionName);
        ASSERT_TRUE(bus.registerObject(QStringLiteral("/org/freedesktop/FileManager1"), &m_manager,
                                       QDBusConnection::ExportScriptableSlots |
                                           QDBusConnection::ExportScriptableInvokables));
        ASSERT_TRUE(bus.registerService(QStringLiteral("org.freedesktop.FileManager1")));
    }

    /// Whether the file manager is, with the bus's own name, its number and its own name.
    [[nodiscard]] static bool isAloneOnTheBus()
    {
        return QDBusConnection(connectionName)
                   .interface()
                   ->registeredServiceNames()
                   .value()
                   .size() == 3;
    }

    [[nodiscard]] std::string awaitOpened() const
    {
        EXPECT_TRUE(awaitOutside([this] { return fs::exists(m_opened); }));
        std::ifstream file(m_opened);
        std::string line;
        std::getline(file, line);
        return line;
    }

    TemporaryFolder m_folder;
    fs::path m_opened = m_folder.path() / "opened";
    ScopedEnvironment m_path{"PATH", m_folder.path().string() + ":" + std::getenv("PATH")};
    FileManagerStandIn m_manager;
    BusFileViewer m_viewer;
};

TEST_F(BusFileViewerTest, AsksTheFileManagerToSelectTheFile)
{
    startFileManager();
    m_viewer.reveal("/no/such folder/app.log");
    ASSERT_TRUE(await([this] { return !m_manager.shown.isEmpty(); }));
    EXPECT_THAT(m_manager.shown, ElementsAre("file:///no/such%20folder/app.log"));
    ASSERT_TRUE(awaitOutside(&isAloneOnTheBus));
    EXPECT_FALSE(fs::exists(m_opened));
}

TEST_F(BusFileViewerTest, OpensTheFolderWhereThereIsNoFileManager)
{
    m_viewer.reveal("/some folder/app.log");
    EXPECT_EQ(awaitOpened(), "file:///some%20folder");
}

TEST_F(BusFileViewerTest, OpensTheFolderWhenTheFileManagerRefuses)
{
    startFileManager();
    m_manager.refuses = true;
    m_viewer.reveal("/some folder/app.log");
    EXPECT_EQ(awaitOpened(), "file:///some%20folder");
}

TEST_F(BusFileViewerTest, OpensTheFolderWhereThereIsNoBus)
{
    sessionBus().stop();
    m_viewer.reveal("/some folder/app.log");
    EXPECT_EQ(awaitOpened(), "file:///some%20folder");
}

TEST(BusFileViewer, KeepsEveryByteOfAPathInItsUrl)
{
    EXPECT_EQ(BusFileViewer::url("/a b/100%#?/\xc3\xbc\xff.log"),
              "file:///a%20b/100%25%23%3F/%C3%BC%FF.log");
}

} // namespace
} // namespace Tarnwick

#include "BusFileViewerTest.moc"

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Installer/FilesBelow.h"

#include "tests/Installer/InstallFixture.h"
#include "tests/Installer/MountedFolder.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace Tarnwick {
namespace {

namespace fs = std::filesystem;

class FilesBelowTest : public InstallFixture
{
protected:
    FileDescriptor m_below = FilesBelow::openFolder(m_source);
    PortableManifest m_manifest{
        {{.path = "bin/tarnwick", .isProgram = true}, {.path = "share/notes"}}};
};

TEST_F(FilesBelowTest, ReadsAFileThatIsNotTooLong)
{
    EXPECT_EQ(FilesBelow::readFile(m_below.get(), "share/notes", 6), "notes\n");
    EXPECT_EQ(FilesBelow::readFile(m_below.get(), "share/notes", 5), std::nullopt);
    EXPECT_EQ(errno, EFBIG);
}

TEST_F(FilesBelowTest, OpensNoDevice)
{
    const FileDescriptor devices = FilesBelow::openFolder("/dev");
    EXPECT_FALSE(FilesBelow::openFile(devices.get(), "null"));
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(FilesBelowTest, CreatesNothingBehindALink)
{
    const fs::path outside = m_folder.path() / "outside";
    fs::create_directory(outside);
    fs::create_directory_symlink(outside, m_source / "way");
    fs::create_symlink(outside / "file", m_source / "file");
    EXPECT_FALSE(FilesBelow::createFile(m_below.get(), "way/file"));
    EXPECT_FALSE(FilesBelow::createFile(m_below.get(), "file"));
    EXPECT_EQ(errno, EEXIST);
    EXPECT_TRUE(fs::is_empty(outside));
}

TEST_F(FilesBelowTest, RemovesWhatIsListed)
{
    const FileDescriptor parent = FilesBelow::openFolder(m_source.parent_path());
    EXPECT_TRUE(FilesBelow::removeListed(parent.get(), m_source.filename(), m_manifest));
    EXPECT_FALSE(fs::exists(m_source));
    EXPECT_TRUE(FilesBelow::removeListed(parent.get(), m_source.filename(), m_manifest));
}

TEST_F(FilesBelowTest, RemovesNothingElseAndNothingBehindALink)
{
    const FileDescriptor parent = FilesBelow::openFolder(m_source.parent_path());
    const fs::path outside = m_folder.path() / "outside";
    fs::rename(m_source / "share", outside);
    fs::create_directory_symlink(outside, m_source / "share");
    EXPECT_FALSE(FilesBelow::removeListed(parent.get(), m_source.filename(), m_manifest));
    EXPECT_TRUE(fs::exists(outside / "notes"));
    EXPECT_FALSE(fs::exists(m_source / "bin"));
}

TEST_F(FilesBelowTest, GoesToNoOtherFileSystem)
{
    const MountedFolder mount(m_source / "share", "mode=755");
    if (!mount) {
        GTEST_SKIP() << "mounting is not permitted here";
    }
    write(m_source / "share" / "notes", "notes\n");
    // Opened among the mounts of this process, which are its own since the mount was made.
    const FileDescriptor below = FilesBelow::openFolder(m_source);
    EXPECT_FALSE(FilesBelow::openFile(below.get(), "share/notes"));
    EXPECT_EQ(errno, EXDEV);
    const FileDescriptor parent = FilesBelow::openFolder(m_source.parent_path());
    EXPECT_FALSE(FilesBelow::removeListed(parent.get(), m_source.filename(), m_manifest));
    EXPECT_TRUE(fs::exists(m_source / "share" / "notes"));
}

} // namespace
} // namespace Tarnwick

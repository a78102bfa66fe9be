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
    [[nodiscard]] bool removeListed() const
    {
        const FileDescriptor parent = FilesBelow::openFolder(m_source.parent_path());
        return FilesBelow::removeListed(parent.get(), m_source.filename(), m_below.get(),
                                        m_manifest);
    }

    FileDescriptor m_below = FilesBelow::openFolder(m_source);
    PortableManifest m_manifest{{{.path = "bin/tarnwick", .isProgram = true},
                                 {.path = "bin/tarnwick-helper", .isProgram = true},
                                 {.path = "bin/tarnwick-install", .isProgram = true},
                                 {.path = "share/notes"}}};
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
    EXPECT_TRUE(removeListed());
    EXPECT_FALSE(fs::exists(m_source));
}

TEST_F(FilesBelowTest, RemovesNoFolderThatHasGotTheNameOfAnother)
{
    const fs::path moved = m_folder.path() / "moved";
    fs::rename(m_source, moved);
    fs::create_directory(m_source);
    EXPECT_FALSE(removeListed());
    EXPECT_TRUE(fs::exists(m_source));
    EXPECT_FALSE(fs::exists(moved / "share"));
}

TEST_F(FilesBelowTest, RemovesNothingElseAndNothingBehindALink)
{
    const fs::path outside = m_folder.path() / "outside";
    fs::rename(m_source / "share", outside);
    fs::create_directory_symlink(outside, m_source / "share");
    EXPECT_FALSE(removeListed());
    EXPECT_TRUE(fs::exists(outside / "notes"));
    EXPECT_FALSE(fs::exists(m_source / "bin"));
    EXPECT_TRUE(fs::exists(m_source / ".tarnwick-portable")) << "as long as anything is left";
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
    m_below = FilesBelow::openFolder(m_source);
    EXPECT_FALSE(removeListed());
    EXPECT_TRUE(fs::exists(m_source / "share" / "notes"));
}

} // namespace
} // namespace Tarnwick

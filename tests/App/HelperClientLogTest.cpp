// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "App/HelperClient.h"

#include "Platform/fake/FakeFileViewer.h"
#include "tests/Support/ScopedEnvironment.h"
#include "tests/Support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Tarnwick;

namespace {

TEST(HelperClient, ShowsTheLogWhetherItExistsOrNot)
{
    const TemporaryFolder folder;
    const ScopedEnvironment dataHome("XDG_DATA_HOME", folder.path().string());
    FakeFileViewer viewer;
    HelperClient::revealLogInFinder(viewer);
    EXPECT_THAT(viewer.revealed, testing::ElementsAre(folder.path() / "Tarnwick" / "app.log"));
    EXPECT_FALSE(std::filesystem::exists(viewer.revealed.front()));
}

} // namespace

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/Support/TemporaryFolder.h"

namespace Tarnwick {

/// The environment of a test program: no bus, display, language or desktop of the user who runs it,
/// empty folders in place of the user's and of the machine's, and no rules for tiers but the
/// built-in ones. A program that a test starts inherits it. Made first of all in main(), before
/// there is another thread; static there, so that its folders are removed by exit() as well.
class IsolatedEnvironment
{
public:
    IsolatedEnvironment();

private:
    TemporaryFolder m_folder;
};

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/DescriptorLimit.h"
#include "Helper/HelperService.h"
#include "Helper/ListenerInventory.h"
#include "Helper/ProcessTerminator.h"
#include "Helper/linux/FailureReport.h"
#include "Helper/linux/HelperBus.h"
#include "Helper/linux/SystemdEventLoop.h"
#include "Shared/AppLog.h"
#include "Shared/HelperProtocol.h"

#include <exception>
#include <memory>
#include <string>
#include <variant>

#include <malloc.h>

namespace {

/// Memory that is given up goes back to the system, whatever was taken before. Left to itself, the
/// allocator keeps the more of it, the larger the listings have been.
void keepMemoryLow()
{
    constexpr int largeBlock = 128 * 1024; // what the allocator itself begins with
    ::mallopt(M_MMAP_THRESHOLD, largeBlock);
    ::mallopt(M_TRIM_THRESHOLD, largeBlock);
}

int fail(const char *why)
{
    Tarnwick::reportFailure(why);
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
    using namespace Tarnwick;
    const bool replaces = argc > 1 && argv[1] == HelperProtocol::replaceOption;
    keepMemoryLow();
    raiseDescriptorLimit();
    try {
        ListenerInventory::Options options;
        options.log = &AppLog::log;
        ListenerInventory inventory(options);
        ProcessTerminator terminator(inventory);
        SystemdEventLoop loop;
        HelperService service(loop, HelperService::workOf(inventory, terminator));
        HelperBus::Opened opened =
            HelperBus::open(loop, service, HelperBus::usualPatience,
                            replaces ? HelperBus::Claim::Replace : HelperBus::Claim::IfFree);
        if (const auto *why = std::get_if<std::string>(&opened)) {
            return fail(why->c_str());
        }
        const auto channel = std::get<std::unique_ptr<HelperBus>>(std::move(opened));
        const int status = loop.run();
        AppLog::flush();
        return status >= 0 ? status : fail("the event loop failed");
    } catch (const std::exception &exception) {
        return fail(exception.what());
    }
}

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/DescriptorInput.h"
#include "CommandLine/DescriptorOutput.h"
#include "CommandLine/Program.h"
#include "CommandLine/SystemListeners.h"
#include "CommandLine/SystemPorts.h"
#include "CommandLine/TerminalSession.h"
#include "CommandLine/TerminalText.h"
#include "Helper/DescriptorLimit.h"

#include <chrono>
#include <csignal>
#include <exception>
#include <new>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// Fills the standard descriptors that the program was started without, for else the next thing
/// opened would take their place. Each is opened the wrong way round, so that using it fails.
void occupyStandardDescriptors()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0) {
            static_cast<void>(open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY));
        }
    }
}

} // namespace

int main(int argc, char **argv)
{
    using namespace Tarnwick;
    occupyStandardDescriptors();
    raiseDescriptorLimit();
    // A reader that goes away is an error of the write, not our death.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));

    DescriptorOutput output(STDOUT_FILENO);
    DescriptorOutput errors(STDERR_FILENO);
    DescriptorInput input(STDIN_FILENO);
    const auto now = [] {
        return std::chrono::floor<Timestamp::duration>(std::chrono::system_clock::now());
    };
    const Console console{output, errors, input, Environment::ofThisProcess(), now};
    try {
        bool isScreenTaken = false;
        std::vector<std::string> heldMessages; // for when the terminal has its own screen again
        SystemListeners listeners([&](const TierRuleProblem &problem) {
            std::string message = TerminalText::printable(problem.text());
            if (isScreenTaken) {
                heldMessages.push_back(std::move(message));
            } else {
                console.sayError(message);
            }
        });
        const SystemPorts ports;
        Program program(console, listeners, listeners, ports, listeners,
                        [&](Presentation presentation) {
                            isScreenTaken = presentation == Presentation::InPlace;
                            return TerminalSession::start(output, STDIN_FILENO, presentation);
                        });
        const std::span<const char *const> arguments(argv, static_cast<std::size_t>(argc));
        const ExitCode code = program.run(arguments.subspan(argc > 0 ? 1 : 0));
        for (const std::string &message : heldMessages) {
            console.sayError(message);
        }
        return static_cast<int>(code);
    } catch (const std::bad_alloc &) {
        // Written as it stands: what puts texts together takes memory.
        static_cast<void>(errors.write("tarnwickctl: no memory left\n"));
        return static_cast<int>(ExitCode::Failed);
    } catch (const std::exception &exception) {
        console.sayError(exception.what());
        return static_cast<int>(ExitCode::Failed);
    }
}

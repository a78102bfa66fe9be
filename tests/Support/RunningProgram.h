// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Shared/FileDescriptor.h"
#include "tests/CommandLine/PseudoTerminal.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace Tarnwick {

/// What a program is started with beside its arguments.
struct ProgramSetup
{
    std::vector<std::string> environment{}; ///< "NAME=value", besides the test's own
    std::string outputPath{};               ///< a file for standard output instead of a pipe
    std::vector<int> closed{};              ///< descriptors that the program starts without
    std::optional<uid_t> user{};            ///< whom to run as
};

/// A program that the test started and sees to the end of. Whatever is awaited is awaited for ten
/// seconds at most.
class RunningProgram
{
public:
    using Setup = ProgramSetup;

    struct Result
    {
        int exitCode = -1; ///< 128 and the number of the signal that ended it
        std::string output;
        std::string errors;
    };

    /// Starts @p command with pipes for its outputs and nothing to read.
    explicit RunningProgram(const std::vector<std::string> &command, const Setup &setup = {});

    /// Starts @p command on @p terminal, which is then all its input and output.
    RunningProgram(const std::vector<std::string> &command, PseudoTerminal &terminal,
                   const Setup &setup = {});

    ~RunningProgram();
    RunningProgram(const RunningProgram &) = delete;
    RunningProgram &operator=(const RunningProgram &) = delete;

    /// Whether the output came to contain @p text after what earlier calls have found.
    [[nodiscard]] bool shows(std::string_view text);

    /// What the output holds between what earlier calls have found and @p text, which is then
    /// found, too; empty when it does not come.
    [[nodiscard]] std::string textBefore(std::string_view text);

    [[nodiscard]] pid_t pid() const { return m_pid; }
    void type(std::string_view text) const;
    void signal(int number) const;
    void resize(unsigned short columns, unsigned short rows) const;

    /// Stops listening to the output.
    void closeOutput() { m_output.reset(); }

    /// Whether the program was stopped by a signal.
    [[nodiscard]] bool stops() const;

    [[nodiscard]] Result finish();

private:
    void start(const std::vector<std::string> &command, const Setup &setup, int output, int errors,
               int input);
    /// Reads once what there is; false when nothing comes.
    [[nodiscard]] bool readMore();

    pid_t m_pid = -1;
    PseudoTerminal *m_terminal = nullptr;
    FileDescriptor m_output;
    FileDescriptor m_errors;
    std::size_t m_seen = 0;
    Result m_result;
};

/// Runs @p command to its end.
[[nodiscard]] RunningProgram::Result run(const std::vector<std::string> &command,
                                         const RunningProgram::Setup &setup = {});

} // namespace Tarnwick

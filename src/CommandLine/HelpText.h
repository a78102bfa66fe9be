// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string_view>

/// What the help says beside the options: what each command does, and how it is used. No line is
/// wider than 80 columns.
namespace Tarnwick::HelpText {

inline constexpr std::string_view program =
    "Show what is listening on TCP ports, and stop it.\n\n"
    "Commands:\n"
    "  list                        Show the listeners; the command when none is named\n"
    "  watch                       Show them as they come and go\n"
    "  why                         Show everything about one port; also for a number\n"
    "  kill                        Stop the process that listens on a port\n"
    "  free                        Stop the whole server on a port, and free it\n"
    "  wait                        Wait until something listens on a port, or nothing\n"
    "  url                         Print the URL of a port\n"
    "  tiers                       Show the rules for tiers";

inline constexpr std::string_view programExamples =
    "The options are those of list; each command has a --help of its own, and that\n"
    "of list names the columns.\n\n"
    "Examples:\n"
    "  tarnwickctl                     everything that listens\n"
    "  tarnwickctl --tier dev          what the developer tools have started\n"
    "  tarnwickctl 3000                everything about port 3000\n"
    "  tarnwickctl kill 3000           stop the owner of port 3000, after a question";

inline constexpr std::string_view tiers =
    "Show the rules that give listeners their tiers, in the order in which they\n"
    "count: the first that holds decides.";

inline constexpr std::string_view tiersExamples =
    "Files, each read where it is there; TARNWICK_TIERS names one to read instead,\n"
    "or 'none':\n"
    "  ~/.config/velmora/tarnwick/tiers.toml\n"
    "  /etc/tarnwick/tiers.toml\n"
    "  the one that comes with Tarnwick\n\n"
    "Examples:\n"
    "  tarnwickctl tiers\n"
    "  tarnwickctl tiers --json | jq '.rules[].description'\n\n"
    "Exit status:\n"
    "  0 shown\n"
    "  4 a file was refused, which standard error tells";

inline constexpr std::string_view list = "Show what is listening on TCP ports.";

inline constexpr std::string_view listExamples =
    "Columns:\n"
    "  port, address, exposed, tier, pid, user, process, description, uptime,\n"
    "  memory, command, path, folder, unit, socket, container, project, branch,\n"
    "  parent, host\n\n"
    "Examples:\n"
    "  tarnwickctl list --tier dev --tier unknown\n"
    "  tarnwickctl list --search node --not test\n"
    "  tarnwickctl list --port 3000,8000-8999 --json\n"
    "  tarnwickctl list --columns port,process,project --sort -memory\n"
    "  kill $(tarnwickctl list --pids --port 3000)";

inline constexpr std::string_view watch =
    "Show the listeners as they come and go: in place on a terminal, where ? shows\n"
    "the keys and q quits; else, and with --json, a line for each change.";

inline constexpr std::string_view watchExamples =
    "Examples:\n"
    "  tarnwickctl watch --interval 0.5\n"
    "  tarnwickctl watch --tier dev | tee changes.log\n"
    "  tarnwickctl watch --json";

inline constexpr std::string_view kill =
    "Stop the process that listens on a port, after a question.";

inline constexpr std::string_view killExamples = "Examples:\n"
                                                 "  tarnwickctl kill 3000\n"
                                                 "  tarnwickctl kill 3000 8080 --yes\n"
                                                 "  tarnwickctl kill --pid 4711\n\n"
                                                 "Exit status:\n"
                                                 "  0 stopped\n"
                                                 "  1 nothing to stop\n"
                                                 "  2 wrong usage\n"
                                                 "  3 not permitted\n"
                                                 "  4 failed\n"
                                                 "  5 stopped, but another process has the port\n"
                                                 "  6 sent SIGKILL, and has not ended yet";

inline constexpr std::string_view why =
    "Show everything about one port: who listens, where and since when, what started\n"
    "it, what stops it and whether it would come back; or, when nothing listens, what\n"
    "else keeps servers from the port. 'tarnwickctl 3000' is short for 'why 3000'.";

inline constexpr std::string_view whyExamples = "Examples:\n"
                                                "  tarnwickctl why 3000\n"
                                                "  tarnwickctl 3000 --json\n\n"
                                                "Exit status:\n"
                                                "  0 something listens there\n"
                                                "  1 nothing listens there\n"
                                                "  2 wrong usage\n"
                                                "  4 failed";

inline constexpr std::string_view free =
    "Stop the whole server behind each port, after a question, and wait until the\n"
    "port can be bound: the process that listens, its workers, and what runs it, such\n"
    "as npm or a loop of a script.";

inline constexpr std::string_view freeExamples =
    "Examples:\n"
    "  tarnwickctl free 3000\n"
    "  tarnwickctl free 3000 8080 --dry-run\n"
    "  tarnwickctl free 3000 --yes && npm run dev\n\n"
    "Exit status:\n"
    "  0 each port is free, or was so before\n"
    "  1 the answer was no\n"
    "  2 wrong usage\n"
    "  3 not permitted, or to be stopped with the command that is named\n"
    "  4 failed\n"
    "  5 stopped, but the port is taken again or cannot be bound\n"
    "  6 sent SIGKILL, and has not ended yet";

inline constexpr std::string_view wait =
    "Wait until something listens on each of the ports, or until all are free.";

inline constexpr std::string_view waitExamples =
    "Examples:\n"
    "  npm run dev & tarnwickctl wait 3000 && xdg-open $(tarnwickctl url 3000)\n"
    "  tarnwickctl wait 5432 6379 --timeout 30\n"
    "  tarnwickctl wait 3000 --free\n\n"
    "Exit status:\n"
    "  0 something listens on each, or all are free\n"
    "  1 the time is over\n"
    "  2 wrong usage\n"
    "  4 failed";

inline constexpr std::string_view url = "Print the URL of what listens on a port.";

inline constexpr std::string_view urlExamples = "Examples:\n"
                                                "  tarnwickctl url 3000\n"
                                                "  curl $(tarnwickctl url 8080)/health\n\n"
                                                "Exit status:\n"
                                                "  0 printed\n"
                                                "  1 nothing listens there\n"
                                                "  2 wrong usage\n"
                                                "  4 failed";

} // namespace Tarnwick::HelpText

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/ProcessInspector.h"

#include "Helper/ProcessName.h"
#include "Helper/RecordBounds.h"
#include "Helper/linux/CachedPath.h"
#include "Helper/linux/ForeignExecutable.h"
#include "Helper/linux/MappedFile.h"
#include "Helper/linux/ProcessIdentification.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <functional>
#include <utility>

#include <unistd.h>

namespace Tarnwick {

namespace {

/// The most of a command line that is kept.
constexpr std::size_t longestCommandLine = 64UL * 1024;
/// One byte more is read, to tell a command line of just that size from a longer one.
constexpr std::size_t commandLineRead = longestCommandLine + 1;

constexpr std::string_view deletedMark = " (deleted)";

/// Reads the beginning of a file and tells whether it still is what @p known holds; if not, @p
/// known becomes the whole of it, up to @p limit. False when the file cannot be read.
bool readAgain(int file, std::string &known, std::size_t limit, bool &changed)
{
    std::array<char, 4096> start;
    const ssize_t got = ProcFs::readAt(file, start.data(), start.size(), 0);
    if (got < 0) {
        return false;
    }
    const std::string_view read(start.data(), static_cast<std::size_t>(got));
    if (read.size() < start.size()) {
        if (read != known) {
            known = read;
            changed = true;
        }
        return true;
    }
    std::string whole;
    if (!ProcFs::readWhole(file, whole, limit)) {
        return false;
    }
    if (whole != known) {
        known = std::move(whole);
        changed = true;
    }
    return true;
}

/// Reads a link again, as readAgain() does a file. What is known stays where the link cannot be
/// read for the moment, and where it may not be read any more although nothing else has changed.
void readLinkAgain(int directory, const char *name, std::string &known, bool &changed)
{
    std::array<char, 4096> target;
    const ssize_t got = ProcFs::readLinkAt(directory, name, target.data(), target.size());
    const bool isDenied = got < 0 && (errno == EACCES || errno == EPERM);
    if (got < 0 && ((isDenied && !changed) || (!isDenied && errno != ENOENT))) {
        return; // says nothing about the link
    }
    const std::string_view read(target.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
    if (read != known) {
        known = read;
        changed = true;
    }
}

/// A link's target without the mark that the kernel puts behind the path of a deleted file. A file
/// may really have such a name: then it is there, and known to the kernel, for it is in use.
std::string withoutDeletedMark(const std::string &target)
{
    if (target.ends_with(deletedMark) && !CachedPath::exists(target)) {
        return target.substr(0, target.size() - deletedMark.size());
    }
    return target;
}

std::uint64_t pageSize()
{
    static const auto size = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    return size;
}

} // namespace

std::unique_ptr<ProcessInspector> ProcessInspector::open(int root, pid_t pid,
                                                         ProcFs::Numbering numbering)
{
    std::unique_ptr<ProcessInspector> inspector(new ProcessInspector(root, pid, numbering));
    if (!inspector->openFiles()) {
        return nullptr;
    }
    ProcFs::Stat stat;
    std::optional<ProcessIdentity> identity = ProcessIdentification::of(
        inspector->m_directory.get(), pid, numbering, ProcessIdentification::Means::Pidfs, &stat);
    if (!identity) {
        return nullptr;
    }
    inspector->m_identity = *std::move(identity);
    inspector->m_placeWhenOpened = {.parent = stat.parent, .group = stat.processGroup};
    if (numbering == ProcFs::Numbering::Own) {
        inspector->m_processorClock = ProcessorClock(pid);
    }
    return inspector;
}

bool ProcessInspector::openFiles()
{
    m_thread = 0;
    m_directory = ProcFs::openProcess(m_root, m_identity.pid);
    if (!m_directory) {
        return false;
    }
    m_comm = ProcFs::openFile(m_directory.get(), "comm");
    return m_comm && openFilesOfImage();
}

bool ProcessInspector::openFilesOfImage()
{
    m_descriptors = ProcFs::openDirectory(m_directory.get(), "fd");
    m_statm = ProcFs::openFile(m_directory.get(), "statm");
    m_commandLine = ProcFs::openFile(m_directory.get(), "cmdline");
    return m_statm && m_commandLine;
}

/// A main thread that has ended has neither memory nor descriptors, though the process goes on in
/// its other threads. False when there is none of those: the process itself ends.
bool ProcessInspector::moveToLivingThread()
{
    std::vector<ProcFs::NumberedEntry> threads;
    const FileDescriptor folder =
        ProcFs::openDirectory(m_directory.get(), m_thread == 0 ? "task" : "..");
    if (!folder || !ProcFs::readNumbers(folder.get(), threads)) {
        return false;
    }
    for (const ProcFs::NumberedEntry &entry : threads) {
        const auto thread = static_cast<pid_t>(entry.number);
        FileDescriptor directory = ProcFs::openProcess(folder.get(), thread);
        const std::optional<ProcFs::Stat> stat = ProcFs::stat(directory.get());
        if (thread != m_identity.pid && stat && stat->state != 'Z' && stat->state != 'X') {
            m_thread = thread;
            m_directory = std::move(directory);
            return openFilesOfImage();
        }
    }
    return false;
}

void ProcessInspector::release()
{
    for (FileDescriptor *file : {&m_directory, &m_descriptors, &m_statm, &m_comm, &m_commandLine}) {
        file->reset();
    }
    m_thread = 0;
}

bool ProcessInspector::reopen()
{
    if (m_directory) {
        return true;
    }
    if (!openFiles()) {
        release();
        return false;
    }
    const std::optional<ProcessIdentity> found =
        ProcessIdentification::of(m_directory.get(), m_identity.pid, m_numbering);
    if (!found || !isSameProcess(m_identity, *found)) {
        release();
        return false;
    }
    return true;
}

bool ProcessInspector::holds(unsigned descriptor, std::uint32_t inode, pid_t thread) const
{
    FileDescriptor own;
    if (thread != m_thread && thread != 0 && m_directory) {
        const std::string path = (m_thread == 0 ? "task/" : "../") + std::to_string(thread) + "/fd";
        own = ProcFs::openDirectory(m_directory.get(), path.c_str());
    }
    const FileDescriptor &descriptors = thread == 0 || thread == m_thread ? m_descriptors : own;
    if (!descriptors) {
        return false;
    }
    const ProcFs::Descriptor seen = ProcFs::descriptor(descriptors.get(), descriptor);
    return seen.kind == ProcFs::Descriptor::Kind::Socket && seen.inode == inode;
}

bool ProcessInspector::refresh(const BootClock &clock, Reading reading)
{
    const std::uint64_t now = m_identity.outlivedStartTick ? 0 : ProcessIdentification::ticks();
    // The time first: what is read after it cannot have changed before it.
    m_hasRun = m_processorClock.hasAdvanced() || reading == Reading::Everything;
    if (!readMemory() || (!m_hasMemory && moveToLivingThread() && !readMemory())) {
        return false;
    }
    const bool staysAsItWas = !m_hasMemory && m_described;
    if (!staysAsItWas && !readImage()) {
        return false;
    }
    m_details.startedAt = clock.time(m_identity.startTicks);
    ProcessIdentification::confirm(m_identity, now);
    return true;
}

bool ProcessInspector::readMemory()
{
    // Sizes in pages (proc(5)): total, resident, and others.
    std::array<char, 128> text;
    const ssize_t got = ProcFs::readAt(m_statm.get(), text.data(), text.size(), 0);
    if (got <= 0) {
        return false;
    }
    const char *end = text.data() + got;
    m_hasMemory = !std::string_view(text.data(), static_cast<std::size_t>(got)).starts_with("0 ");
    if (!m_hasMemory && m_described) {
        return true;
    }
    const char *resident = std::find(static_cast<const char *>(text.data()), end, ' ');
    std::uint64_t pages = 0;
    if (resident == end || std::from_chars(resident + 1, end, pages).ec != std::errc{}) {
        return false;
    }
    m_details.memoryBytes = pages * pageSize();
    return true;
}

bool ProcessInspector::readImage()
{
    bool changed = std::exchange(m_isStale, true) || !m_described;
    constexpr std::size_t longestComm = 64;
    const bool mayHaveChanged = m_hasRun || !m_described;
    if (mayHaveChanged &&
        (!readAgain(m_comm.get(), m_rawComm, longestComm, changed) ||
         !readAgain(m_commandLine.get(), m_rawCommandLine, commandLineRead, changed))) {
        return false;
    }
    readLinkAgain(m_directory.get(), "exe", m_rawExecutable, changed);
    readLinkAgain(m_directory.get(), "cwd", m_rawDirectory, changed);
    if (changed) {
        describe();
        m_described = true;
    }
    m_isStale = false;
    return true;
}

void ProcessInspector::describe()
{
    std::string_view comm = m_rawComm;
    if (comm.ends_with('\n')) {
        comm.remove_suffix(1);
    }
    const std::vector<std::string> arguments = splitArguments(m_rawCommandLine);
    const std::string path = m_rawExecutable.empty() ? ForeignExecutable::find(comm, arguments)
                                                     : withoutDeletedMark(m_rawExecutable);
    describeProgram(RecordBounds::name(ProcessName::from(comm, path, arguments)),
                    RecordBounds::path(path));
    m_details.forwarder = ForwarderCommand::programAt(m_details.commandPath);
    m_details.cwd = RecordBounds::path(withoutDeletedMark(m_rawDirectory));
    m_details.arguments = RecordBounds::arguments(arguments);
    describeOrigin();
}

void ProcessInspector::setOrigin(std::string_view commandLine)
{
    if (commandLine != m_rawOrigin) {
        m_rawOrigin = commandLine;
        describeOrigin();
    }
}

void ProcessInspector::describeOrigin()
{
    m_details.originArguments.clear();
    if (m_rawOrigin != m_rawCommandLine) {
        m_details.originArguments = RecordBounds::arguments(splitArguments(m_rawOrigin));
    }
    m_details.recordCost = RecordBounds::cost(m_details);
}

/// A process may call itself what it likes, whenever it likes; to whoever follows its listeners it
/// would be another. So the first name stays until it becomes another program. No path is none to
/// be had.
void ProcessInspector::describeProgram(std::string name, std::string path)
{
    const bool isMoved = isSameExecutable() && !m_details.commandPath.empty();
    const bool isSame = m_described && (isMoved || path.empty() || m_details.commandPath.empty() ||
                                        path == m_details.commandPath);
    if (!path.empty() && !isMoved) {
        m_details.commandPath = std::move(path);
    }
    if (!isSame) {
        m_details.processName = std::move(name);
        m_details.program =
            std::hash<std::string>()(m_details.commandPath + '\0' + m_details.processName);
    }
}

/// Whether the process runs the file that it ran when this was called last, under the same path or
/// another. A look at the mappings asks no file system, as one at the file itself would (see
/// CachedPath).
bool ProcessInspector::isSameExecutable()
{
    // An executable is among the first, below the libraries.
    constexpr std::size_t maxMapsBytes = 16UL * 1024;
    if (m_rawExecutable == m_executablePath) {
        return !m_executable.empty();
    }
    m_executablePath = m_rawExecutable;
    std::string maps;
    const std::string before = std::exchange(m_executable, {});
    if (!m_rawExecutable.empty() &&
        ProcFs::readFile(m_directory.get(), "maps", maps, maxMapsBytes)) {
        m_executable = MappedFile::find(maps, m_rawExecutable);
    }
    return !before.empty() && m_executable == before;
}

std::vector<std::string> ProcessInspector::splitArguments(std::string_view commandLine)
{
    const bool cut = commandLine.size() > longestCommandLine;
    commandLine = commandLine.substr(0, longestCommandLine);
    std::vector<std::string> arguments;
    while (!commandLine.empty() && arguments.size() < mostArguments) {
        const std::size_t end = commandLine.find('\0');
        if (end == std::string_view::npos && cut) {
            break;
        }
        arguments.emplace_back(commandLine.substr(0, end));
        commandLine.remove_prefix(std::min(commandLine.size(), end) + (end < commandLine.size()));
    }
    // A program that writes a title over its arguments leaves the rest of their room empty.
    const auto isTitle = [](std::string_view text) {
        return text.find_first_of(" :") != std::string_view::npos;
    };
    if (!arguments.empty() && isTitle(arguments.front())) {
        while (arguments.size() > 1 && arguments.back().empty()) {
            arguments.pop_back();
        }
    }
    return arguments;
}

} // namespace Tarnwick

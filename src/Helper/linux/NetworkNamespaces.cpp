// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Helper/linux/NetworkNamespaces.h"

#include "Helper/linux/ProcFs.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <linux/openat2.h>
#include <netinet/in.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace Tarnwick {

namespace {

constexpr std::size_t longestTable = 4UL * 1024 * 1024;
/// Of a machine's routing table, which has a line for each route; a container has a few.
constexpr std::size_t longestRoutes = 256UL * 1024;
constexpr std::size_t longestMountInfo = 256UL * 1024;

std::string_view takeLine(std::string_view &text)
{
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    return line;
}

std::string_view takeField(std::string_view &line)
{
    line.remove_prefix(std::min(line.size(), line.find_first_not_of(' ')));
    const std::string_view field = line.substr(0, line.find(' '));
    line.remove_prefix(field.size());
    return field;
}

template<class Number>
bool toNumber(std::string_view text, Number &number, int base = 10)
{
    const char *const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, number, base);
    return parsed.ec == std::errc{} && parsed.ptr == end;
}

/// The number in a link to a namespace, "net:[4026531833]".
std::optional<std::uint64_t> inodeOfLink(std::string_view link)
{
    constexpr std::string_view prefix = "net:[";
    std::uint64_t inode = 0;
    const bool isNamespace =
        link.starts_with(prefix) && link.ends_with(']') &&
        toNumber(link.substr(prefix.size(), link.size() - prefix.size() - 1), inode);
    return isNamespace ? std::optional(inode) : std::nullopt;
}

/// The inode of the namespace that is mounted at @p path for this process. Other processes name the
/// path: no file system is asked (see CachedPath).
std::optional<std::uint64_t> mountedHere(const std::string &path)
{
    open_how how = {};
    how.flags = O_PATH | O_CLOEXEC;
    how.resolve = RESOLVE_CACHED;
    const FileDescriptor file(
        static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof(how))));
    struct statfs system = {};
    struct stat status = {};
    if (!file || ::fstatfs(file.get(), &system) != 0 || system.f_type != NSFS_MAGIC ||
        ::fstat(file.get(), &status) != 0) {
        return std::nullopt;
    }
    return status.st_ino;
}

/// The address as /proc/net/if_inet6 writes it; empty where it is none of that family.
std::string digitsOfV6(const std::string &address)
{
    in6_addr raw = {};
    if (::inet_pton(AF_INET6, address.c_str(), &raw) != 1) {
        return {};
    }
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : raw.s6_addr) {
        text += digits[byte >> 4U];
        text += digits[byte & 15U];
    }
    return text;
}

} // namespace

NetworkNamespaces::NetworkNamespaces(int root, Clock::time_point deadline)
    : m_root(root)
    , m_deadline(deadline)
    , m_own(of(::getpid()).value_or(0))
{
}

std::optional<NetworkNamespaces::Number> NetworkNamespaces::of(pid_t pid) const
{
    struct stat status = {};
    const std::string path = std::to_string(pid) + "/net/tcp";
    return ::fstatat(m_root, path.c_str(), &status, 0) == 0 ? std::optional<Number>(status.st_ino)
                                                            : std::nullopt;
}

void NetworkNamespaces::readProcesses()
{
    if (m_isRead) {
        return;
    }
    m_isRead = true;
    constexpr std::size_t readsBetweenClocks = 64;
    std::size_t read = 0;
    for (const ProcFs::ProcessEntry &process : ProcFs::processes(m_root)) {
        if (++read % readsBetweenClocks == 0 && Clock::now() > m_deadline) {
            m_isCut = true;
            return;
        }
        if (const std::optional<Number> number = of(process.pid); number && !isOwn(*number)) {
            m_namespaces[*number].processes.push_back(process.pid);
        }
    }
}

std::vector<NetworkNamespaces::Number> NetworkNamespaces::others()
{
    readProcesses();
    std::vector<Number> numbers;
    numbers.reserve(m_namespaces.size());
    for (const auto &[number, entry] : m_namespaces) {
        numbers.push_back(number);
    }
    return numbers;
}

const std::vector<pid_t> &NetworkNamespaces::processes(Number number)
{
    static const std::vector<pid_t> none;
    readProcesses();
    const auto found = m_namespaces.find(number);
    return found == m_namespaces.end() ? none : found->second.processes;
}

/// Any process of the namespace can be asked; the first of them may have ended.
std::string NetworkNamespaces::readTable(const Namespace &of, std::string_view name) const
{
    constexpr std::size_t attempts = 4;
    std::string text;
    for (std::size_t at = 0; at < std::min(attempts, of.processes.size()); ++at) {
        const FileDescriptor file = ProcFs::openOfProcess(m_root, of.processes[at], name);
        const std::size_t limit = name == "/net/fib_trie" ? longestRoutes : longestTable;
        if (file && ProcFs::readWhole(file.get(), text, limit)) {
            return text;
        }
    }
    return {};
}

std::vector<NetworkNamespaces::Number> NetworkNamespaces::withAddress(const std::string &address)
{
    readProcesses();
    const std::string digits = digitsOfV6(address);
    std::vector<Number> found;
    for (auto &[number, entry] : m_namespaces) {
        std::optional<std::string> &text = digits.empty() ? entry.routes : entry.addresses;
        if (!text) {
            text = readTable(entry, digits.empty() ? "/net/fib_trie" : "/net/if_inet6");
        }
        const bool has = digits.empty() ? isLocal(*text, address)
                                        : text->find(digits + ' ') != std::string::npos;
        if (has) {
            found.push_back(number);
        }
    }
    return found;
}

bool NetworkNamespaces::isLocal(std::string_view routes, std::string_view address)
{
    // A leaf of the trie, and under it a line for each of its routes:
    //            |-- 172.17.0.2
    //               /32 host LOCAL
    constexpr std::string_view leaf = "|-- ";
    bool isAddress = false;
    while (!routes.empty()) {
        const std::string_view line = takeLine(routes);
        if (const std::size_t at = line.find(leaf); at != std::string_view::npos) {
            isAddress = line.substr(at + leaf.size()) == address;
        } else if (isAddress && line.ends_with("/32 host LOCAL")) {
            return true;
        }
    }
    return false;
}

std::optional<std::uint64_t> NetworkNamespaces::inodeOf(pid_t pid) const
{
    std::string link;
    const std::string path = std::to_string(pid) + "/ns/net";
    return ProcFs::readLink(m_root, path.c_str(), link) ? inodeOfLink(link) : std::nullopt;
}

std::optional<NetworkNamespaces::Number> NetworkNamespaces::withInode(std::uint64_t inode)
{
    constexpr std::size_t attempts = 4;
    readProcesses();
    for (const auto &[number, entry] : m_namespaces) {
        for (std::size_t at = 0; at < std::min(attempts, entry.processes.size()); ++at) {
            const std::optional<std::uint64_t> found = inodeOf(entry.processes[at]);
            if (found == inode) {
                return number;
            }
            if (found) {
                break;
            }
        }
    }
    return std::nullopt;
}

std::optional<NetworkNamespaces::Number> NetworkNamespaces::atFile(const std::string &path)
{
    if (const std::optional<std::uint64_t> inode = mountedHere(path)) {
        return withInode(*inode);
    }
    // Without privilege Podman mounts it in a namespace of mounts that its monitors are in, too.
    // The latest processes are the likeliest.
    std::vector<ProcFs::ProcessEntry> all = ProcFs::processes(m_root);
    std::string text;
    for (auto process = all.rbegin(); process != all.rend(); ++process) {
        if (Clock::now() > m_deadline) {
            m_isCut = true;
            break;
        }
        const FileDescriptor file = ProcFs::openOfProcess(m_root, process->pid, "/mountinfo");
        if (file && ProcFs::readWhole(file.get(), text, longestMountInfo)) {
            if (const std::optional<std::uint64_t> inode = mountedAt(text, path)) {
                return withInode(*inode);
            }
        }
    }
    return std::nullopt;
}

std::optional<std::uint64_t> NetworkNamespaces::mountedAt(std::string_view mountInfo,
                                                          std::string_view path)
{
    // Fields, of proc(5): two identifiers, device, root, mount point, and more.
    while (!mountInfo.empty()) {
        std::string_view line = takeLine(mountInfo);
        for (int field = 0; field < 3; ++field) {
            takeField(line);
        }
        const std::string_view root = takeField(line);
        if (takeField(line) == path) {
            if (const std::optional<std::uint64_t> inode = inodeOfLink(root)) {
                return inode;
            }
        }
    }
    return std::nullopt;
}

std::optional<NetworkNamespaces::Number> NetworkNamespaces::heldBy(pid_t pid)
{
    constexpr std::size_t maxDescriptors = 1024;
    std::vector<ProcFs::NumberedEntry> entries;
    const FileDescriptor folder = ProcFs::openDirectoryOfProcess(m_root, pid, "/fd");
    if (!folder || !ProcFs::readNumbers(folder.get(), entries, maxDescriptors)) {
        return std::nullopt;
    }
    std::string link;
    for (const ProcFs::NumberedEntry &entry : entries) {
        if (ProcFs::readLink(folder.get(), std::to_string(entry.number).c_str(), link)) {
            const std::optional<std::uint64_t> inode = inodeOfLink(link);
            const std::optional<Number> number = inode ? withInode(*inode) : std::nullopt;
            if (number) {
                return number;
            }
        }
    }
    return std::nullopt;
}

const std::vector<NetworkNamespaces::Listener> &NetworkNamespaces::listeners(Number number)
{
    static const std::vector<Listener> none;
    readProcesses();
    const auto found = m_namespaces.find(number);
    if (found == m_namespaces.end()) {
        return none;
    }
    Namespace &entry = found->second;
    if (!entry.listeners) {
        entry.listeners = parseTable(readTable(entry, "/net/tcp"));
        const std::vector<Listener> six = parseTable(readTable(entry, "/net/tcp6"));
        entry.listeners->insert(entry.listeners->end(), six.begin(), six.end());
    }
    return *entry.listeners;
}

std::vector<NetworkNamespaces::Listener> NetworkNamespaces::parseTable(std::string_view table)
{
    // Fields, of proc_net_tcp: slot, local and remote address, state, queues, timer, retransmits,
    // user, timeout, inode. 0A is the state LISTEN.
    std::vector<Listener> found;
    takeLine(table);
    while (!table.empty()) {
        std::string_view line = takeLine(table);
        takeField(line);
        const std::string_view local = takeField(line);
        takeField(line);
        if (takeField(line) != "0A") {
            continue;
        }
        for (int field = 0; field < 3; ++field) {
            takeField(line);
        }
        Listener listener;
        const std::size_t colon = local.find(':');
        const bool hasUser = toNumber(takeField(line), listener.socket.uid);
        takeField(line);
        if (hasUser && toNumber(takeField(line), listener.socket.inode) &&
            colon != std::string_view::npos &&
            toNumber(local.substr(colon + 1), listener.socket.port, 16)) {
            listener.address = local.substr(0, colon);
            found.push_back(std::move(listener));
        }
    }
    return found;
}

} // namespace Tarnwick

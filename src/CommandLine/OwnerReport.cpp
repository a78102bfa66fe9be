// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/OwnerReport.h"

#include "CommandLine/EndpointText.h"
#include "CommandLine/JsonMembers.h"
#include "CommandLine/OwnerText.h"
#include "CommandLine/TerminalText.h"
#include "Models/ByteCount.h"
#include "Models/Uptime.h"
#include "Shared/EntryText.h"
#include "Shared/Iso8601.h"
#include "Shared/RawPortInfoWriter.h"

#include <cstddef>
#include <string_view>

namespace Tarnwick {

namespace {

std::string familyText(const ListenAddress &address)
{
    if (address.family == ListenAddress::Family::IPv4) {
        return "IPv4";
    }
    return address.isAny() && !address.isV6Only ? "IPv4 and IPv6" : "IPv6";
}

std::string socketText(const ListenerDetails &socket, std::int64_t port)
{
    std::string text =
        EndpointText::address(socket.address, port) + ", " + familyText(socket.address) + ", ";
    text += socket.isExposed() ? "exposed to the network" : "this machine only";
    text += socket.interface.empty() ? "" : ", on " + TerminalText::printable(socket.interface);
    text += socket.user.empty() ? "" : ", of user " + TerminalText::printable(socket.user);
    return text;
}

std::string unitText(const ListenerDetails &details)
{
    if (details.unit.empty()) {
        return {};
    }
    return details.unit + (details.isUserUnit ? ", of the user's service manager"
                                              : ", of the system's service manager");
}

std::string containerText(const Container &container)
{
    return container.title() + (container.runtime.empty() ? "" : ", of " + container.runtime);
}

std::string startText(const PortEntry &owner, Timestamp now)
{
    return Uptime::format(owner.openedAt, now) + " ago, " + Iso8601::formatSeconds(owner.openedAt);
}

/// On one line of a terminal.
std::string processText(const OwnerReport::Process &process)
{
    constexpr std::size_t maxCommandWidth = 50;
    const std::string &command = process.command.empty() ? process.name : process.command;
    return TerminalText::cut(TerminalText::printable(command), maxCommandWidth) + " (pid " +
           std::to_string(process.pid) + ")";
}

/// "~/shop, branch main".
std::string projectText(const Project &project, std::string_view home)
{
    return EntryText::replacingHomePrefix(project.folder, home) +
           (project.branch.empty() ? "" : ", branch " + project.branch);
}

std::string shadowText(const Shadow &shadow)
{
    return "connections to " + shadow.target + " reach " +
           (shadow.processName.empty() ? "another process" : shadow.processName) +
           (shadow.pid != 0 ? " (pid " + std::to_string(shadow.pid) + ")" : "") + " at " +
           shadow.address;
}

void addForwarding(FieldList &fields, const Forwarding &forwarding)
{
    std::string text = forwarding.command.empty() ? forwarding.processName : forwarding.command;
    text += forwarding.port == 0 ? "" : " on port " + std::to_string(forwarding.port);
    text += (text.empty() ? "" : ", ") + forwarding.place();
    fields.add("Serves", TerminalText::printable(text));
}

void writeSocket(JsonWriter &writer, const ListenerDetails &socket)
{
    writer.StartObject();
    writeMember(writer, "address", socket.address.text());
    writeMember(writer, "family", familyText(socket.address));
    writeKnown(writer, "interface", socket.interface);
    writeKnown(writer, "user", socket.user);
    writeKey(writer, "exposed");
    writer.Bool(socket.isExposed());
    writer.EndObject();
}

void writeProcess(JsonWriter &writer, const OwnerReport::Process &process)
{
    writer.StartObject();
    writeKey(writer, "pid");
    writer.Int(process.pid);
    writeMember(writer, "name", process.name);
    writeMember(writer, "command", process.command);
    writer.EndObject();
}

void writeSurroundings(JsonWriter &writer, const ListenerDetails &details)
{
    writeKnown(writer, "unit", details.unit);
    writeKnown(writer, "socketUnit", details.socketUnit);
    if (details.container) {
        writeKey(writer, "container");
        writer.StartObject();
        writeMembers(writer, *details.container);
        writer.EndObject();
    }
    if (details.forwarding) {
        writeKey(writer, "forwarding");
        writer.StartObject();
        writeMembers(writer, *details.forwarding);
        writer.EndObject();
    }
}

} // namespace

std::string OwnerReport::heading() const
{
    const PortEntry &owner = listener.entry;
    const std::string description = TerminalText::printable(owner.description);
    return OwnerText::process(owner) + ", tier " + std::string(rawValue(owner.tier)) +
           (description.empty() || owner.description == owner.process ? "" : ", " + description);
}

FieldList OwnerReport::fields(const ListenerTable::Context &context) const
{
    const PortEntry &owner = listener.entry;
    const ListenerDetails &details = listener.details;
    const auto printable = [](std::string_view text) { return TerminalText::printable(text); };
    const auto withoutHome = [&context](std::string_view path) {
        return EntryText::replacingHomePrefix(path, context.home);
    };
    FieldList fields;
    std::string_view name = "Listens";
    for (const ListenerDetails &socket : sockets) {
        fields.add(name, socketText(socket, owner.port));
        name = {};
    }
    for (const Shadow &shadow : listener.shadows) {
        fields.add("But", printable(shadowText(shadow)));
    }
    fields.add("URL", url);
    const std::string command = EntryText::fullCommand(owner, context.home);
    fields.add("Command", printable(command));
    if (owner.pid != 0) {
        const std::string own = OwnerText::joined(owner.arguments);
        fields.add("Runs as",
                   own == OwnerText::joined(owner.originArguments) ? "" : printable(own));
        fields.add("Executable", printable(withoutHome(owner.command)));
        fields.add("Folder", printable(withoutHome(owner.cwd)));
        fields.add("Project",
                   listener.project ? printable(projectText(*listener.project, context.home)) : "");
        fields.add("Started", startText(owner, context.now));
        fields.add("Memory", owner.memoryBytes > 0 ? ByteCount::format(owner.memoryBytes) : "");
    }
    fields.add("Tier", std::string(rawValue(owner.tier)) + ", " + printable(tierRule),
               context.style.accent(owner.tier));
    fields.add("Unit", printable(unitText(details)));
    fields.add("Socket", printable(details.socketUnit));
    fields.add("Container", details.container ? printable(containerText(*details.container)) : "");
    if (details.forwarding) {
        addForwarding(fields, *details.forwarding);
    }
    name = "Started by";
    for (const Process &ancestor : ancestors) {
        fields.add(name, processText(ancestor));
        name = {};
    }
    name = "To stop it";
    for (const std::string &way : stop) {
        fields.add(name, printable(way));
        name = {};
    }
    fields.add("Restart", printable(restart));
    return fields;
}

std::string OwnerReport::json() const
{
    JsonBuffer buffer;
    JsonWriter writer(buffer);
    writer.StartObject();
    writeMembers(writer, listener.record);
    writeMember(writer, "tier", rawValue(listener.entry.tier));
    writeMember(writer, "description", listener.entry.description);
    writeMember(writer, "tierRule", tierRule);
    if (listener.project) {
        writeMember(writer, "project", listener.project->folder);
        writeKnown(writer, "branch", listener.project->branch);
    }
    writeKey(writer, "sockets");
    writer.StartArray();
    for (const ListenerDetails &socket : sockets) {
        writeSocket(writer, socket);
    }
    writer.EndArray();
    writeSurroundings(writer, listener.details);
    writeKey(writer, "ancestors");
    writer.StartArray();
    for (const Process &ancestor : ancestors) {
        writeProcess(writer, ancestor);
    }
    writer.EndArray();
    writeKey(writer, "stop");
    writer.StartArray();
    for (const std::string &way : stop) {
        writeString(writer, way);
    }
    writer.EndArray();
    writeMember(writer, "restart", restart);
    writeMember(writer, "url", url);
    writer.EndObject();
    return {buffer.GetString(), buffer.GetSize()};
}

} // namespace Tarnwick

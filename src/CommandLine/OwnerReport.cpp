// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/OwnerReport.h"

#include "CommandLine/EndpointText.h"
#include "CommandLine/OwnerText.h"
#include "CommandLine/TerminalText.h"
#include "Models/ByteCount.h"
#include "Models/Uptime.h"
#include "Shared/EntryText.h"
#include "Shared/Iso8601.h"
#include "Shared/RawPortInfoWriter.h"

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

std::string joined(const std::vector<std::string> &arguments)
{
    std::string text;
    for (const std::string &argument : arguments) {
        text += (text.empty() ? "" : " ") + argument;
    }
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

std::string processText(const OwnerReport::Process &process)
{
    return (process.command.empty() ? process.name : process.command) + " (pid " +
           std::to_string(process.pid) + ")";
}

void addForwarding(FieldList &fields, const Forwarding &forwarding)
{
    std::string text = forwarding.command.empty() ? forwarding.processName : forwarding.command;
    text += forwarding.port == 0 ? "" : " on port " + std::to_string(forwarding.port);
    text += (text.empty() ? "" : ", ") + forwarding.place();
    fields.add("Serves", TerminalText::printable(text));
}

class Members
{
public:
    explicit Members(JsonWriter &writer)
        : m_writer(writer)
    {
    }

    void key(std::string_view name)
    {
        m_writer.Key(name.data(), static_cast<rapidjson::SizeType>(name.size()));
    }

    void string(std::string_view text)
    {
        m_writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    }

    void add(std::string_view name, std::string_view text)
    {
        key(name);
        string(text);
    }

    /// The same for a text that may be missing.
    void addKnown(std::string_view name, std::string_view text)
    {
        if (!text.empty()) {
            add(name, text);
        }
    }

private:
    JsonWriter &m_writer;
};

void writeSocket(JsonWriter &writer, const ListenerDetails &socket)
{
    Members members(writer);
    writer.StartObject();
    members.add("address", socket.address.text());
    members.add("family", familyText(socket.address));
    members.addKnown("interface", socket.interface);
    members.addKnown("user", socket.user);
    members.key("exposed");
    writer.Bool(socket.isExposed());
    writer.EndObject();
}

void writeProcess(JsonWriter &writer, const OwnerReport::Process &process)
{
    Members members(writer);
    writer.StartObject();
    members.key("pid");
    writer.Int(process.pid);
    members.add("name", process.name);
    members.add("command", process.command);
    writer.EndObject();
}

void writeSurroundings(JsonWriter &writer, const ListenerDetails &details)
{
    Members members(writer);
    members.addKnown("unit", details.unit);
    members.addKnown("socketUnit", details.socketUnit);
    if (details.container) {
        members.key("container");
        writer.StartObject();
        members.addKnown("id", details.container->id);
        members.addKnown("name", details.container->name);
        members.addKnown("runtime", details.container->runtime);
        writer.EndObject();
    }
    if (details.forwarding) {
        members.key("forwarding");
        writer.StartObject();
        members.add("forwarder", details.forwarding->forwarder);
        members.addKnown("processName", details.forwarding->processName);
        members.addKnown("command", details.forwarding->command);
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
    fields.add("URL", url);
    const std::string command = EntryText::fullCommand(owner, context.home);
    fields.add("Command", printable(command));
    if (owner.pid != 0) {
        const std::string own = joined(owner.arguments);
        fields.add("Runs as", own == joined(owner.originArguments) ? "" : printable(own));
        fields.add("Executable", printable(withoutHome(owner.command)));
        fields.add("Folder", printable(withoutHome(owner.cwd)));
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
        fields.add(name, printable(processText(ancestor)));
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
    Members members(writer);
    writer.StartObject();
    writeMembers(writer, listener.record);
    members.add("tier", rawValue(listener.entry.tier));
    members.add("description", listener.entry.description);
    members.add("tierRule", tierRule);
    members.key("sockets");
    writer.StartArray();
    for (const ListenerDetails &socket : sockets) {
        writeSocket(writer, socket);
    }
    writer.EndArray();
    writeSurroundings(writer, listener.details);
    members.key("ancestors");
    writer.StartArray();
    for (const Process &ancestor : ancestors) {
        writeProcess(writer, ancestor);
    }
    writer.EndArray();
    members.key("stop");
    writer.StartArray();
    for (const std::string &way : stop) {
        members.string(way);
    }
    writer.EndArray();
    members.add("restart", restart);
    members.add("url", url);
    writer.EndObject();
    return {buffer.GetString(), buffer.GetSize()};
}

} // namespace Tarnwick

// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "tests/Link/HelperFixture.h"
#include "tests/Support/HelperProgram.h"

#include <cstddef>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace Tarnwick {
namespace {

/// The value of an attribute of an XML tag; empty when it has none.
std::string_view attribute(std::string_view tag, const std::string &name)
{
    const std::size_t found = tag.find(' ' + name + "=\"");
    if (found == std::string_view::npos) {
        return {};
    }
    const std::string_view value = tag.substr(found + name.size() + 3);
    return value.substr(0, value.find('"'));
}

/// The tags of an XML document in their order, without comments and without their brackets.
std::vector<std::string_view> tagsOf(std::string_view document)
{
    std::vector<std::string_view> tags;
    for (std::size_t begin = document.find('<'); begin != std::string_view::npos;
         begin = document.find('<')) {
        document.remove_prefix(begin);
        const std::string_view closing = document.starts_with("<!--") ? "-->" : ">";
        const std::string_view tag = document.substr(0, document.find(closing));
        if (closing == ">") {
            tags.push_back(tag.substr(1));
        }
        document.remove_prefix(tag.size());
    }
    return tags;
}

/// What the interface of the helper consists of, a line each, in the order of the description.
std::vector<std::string> interfaceIn(std::string_view description)
{
    std::vector<std::string> lines;
    bool inside = false;
    for (const std::string_view tag : tagsOf(description)) {
        const std::string kind(tag.substr(0, tag.find(' ')));
        if (kind == "interface" || kind == "/interface") {
            inside = attribute(tag, "name") == "com.velmora.tarnwick.helper";
        } else if (inside && !kind.starts_with('/')) {
            std::string line = kind;
            for (const char *name : {"name", "type", "direction"}) {
                line.append(1, ' ').append(attribute(tag, name));
            }
            lines.push_back(line);
        }
    }
    return lines;
}

class HelperInterface : public HelperFixture
{
protected:
    [[nodiscard]] std::string introspect() const
    {
        sd_bus_message *reply = nullptr;
        const int asked = sd_bus_call_method(
            m_caller.bus(), "com.velmora.tarnwick.helper", "/com/velmora/tarnwick/helper",
            "org.freedesktop.DBus.Introspectable", "Introspect", nullptr, &reply, "");
        const BusMessage message = take(reply);
        const char *description = nullptr;
        if (asked < 0 || sd_bus_message_read(reply, "s", &description) <= 0) {
            return {};
        }
        return description;
    }

    [[nodiscard]] static std::string published()
    {
        std::ifstream file(interfaceDescription);
        return {std::istreambuf_iterator<char>(file), {}};
    }
};

TEST_F(HelperInterface, IsTheOneThatIsPublished)
{
    const std::vector<std::string> expected = interfaceIn(published());
    EXPECT_EQ(interfaceIn(introspect()), expected);
    EXPECT_EQ(expected, (std::vector<std::string>{
                            "property Version s ",
                            "annotation org.freedesktop.DBus.Property.EmitsChangedSignal  ",
                            "method ListListeningPorts  ", "arg listeners ay out",
                            "method KillProcess  ", "arg pid i in", "arg result i out"}));
}

} // namespace
} // namespace Tarnwick

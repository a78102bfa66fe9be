// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

// A program that has the helper's name on the session bus and answers as it is told:
//
//     scripted-helper LISTING KILL
//
// LISTING is one of: payload TEXT, nothing, number, error NAME TEXT, silence; KILL is one of: code
// NUMBER, nothing, error NAME TEXT, silence. Each with its operands is one argument, with a tab
// between. Without arguments it takes no name, and stays. The members of the requests of its
// interface that it gets are written to standard output, one a line. It ends with the bus.

#include "Helper/linux/BusHandles.h"
#include "Shared/HelperProtocol.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

using namespace Tarnwick;

namespace {

using Words = std::vector<std::string>;
using Reply = std::function<int(sd_bus_message *request, const Words &words)>;

Words split(const std::string &text)
{
    Words words;
    std::size_t start = 0;
    for (std::size_t at = text.find('\t'); at != std::string::npos; at = text.find('\t', start)) {
        words.push_back(text.substr(start, at - start));
        start = at + 1;
    }
    words.push_back(text.substr(start));
    return words;
}

int replyWithPayload(sd_bus_message *request, const Words &words)
{
    sd_bus_message *made = nullptr;
    sd_bus_message_new_method_return(request, &made);
    const BusMessage reply = take(made);
    sd_bus_message_append_array(made, 'y', words.at(1).data(), words.at(1).size());
    return sd_bus_send(nullptr, made, nullptr);
}

int replyWithError(sd_bus_message *request, const Words &words)
{
    const sd_bus_error error = {words.at(1).c_str(), words.at(2).c_str(), 0};
    return sd_bus_reply_method_error(request, &error);
}

int replyWithNumber(sd_bus_message *request, const Words &words)
{
    return sd_bus_reply_method_return(request, "i", std::atoi(words.at(1).c_str()));
}

const std::map<std::string, Reply> &replies()
{
    static const std::map<std::string, Reply> table{
        {"payload", &replyWithPayload},
        {"error", &replyWithError},
        {"code", &replyWithNumber},
        {"number", [](sd_bus_message *request,
                      const Words &) { return sd_bus_reply_method_return(request, "i", 42); }},
        {"nothing", [](sd_bus_message *request,
                       const Words &) { return sd_bus_reply_method_return(request, ""); }},
        {"silence", [](sd_bus_message *, const Words &) { return 1; }},
    };
    return table;
}

struct Script
{
    std::map<std::string_view, Words> answers; ///< by member

    static int onMessage(sd_bus_message *message, void *script, sd_bus_error * /*error*/)
    {
        std::uint8_t type = 0;
        sd_bus_message_get_type(message, &type);
        if (type != SD_BUS_MESSAGE_METHOD_CALL) {
            return 0;
        }
        if (sd_bus_message_is_method_call(message, HelperProtocol::interfaceName.data(), nullptr) <=
            0) {
            return 0; // what every object on a bus answers
        }
        const char *member = sd_bus_message_get_member(message);
        std::printf("%s\n", member);
        std::fflush(stdout);
        const auto &table = static_cast<Script *>(script)->answers;
        const auto words = table.find(member);
        if (words == table.end()) {
            return 0;
        }
        const int replied = replies().at(words->second[0])(message, words->second);
        return replied < 0 ? replied : 1;
    }
};

} // namespace

int main(int argc, char **argv)
{
    const std::string serviceName(HelperProtocol::serviceName);
    Script script;
    if (argc == 3) {
        script.answers = {{"ListListeningPorts", split(argv[1])}, {"KillProcess", split(argv[2])}};
    }
    sd_bus *opened = nullptr;
    if (sd_bus_open_user(&opened) < 0) {
        return EXIT_FAILURE;
    }
    const BusHandle bus(opened);
    sd_bus_add_filter(opened, nullptr, &Script::onMessage, &script);
    if (argc == 3 && sd_bus_request_name(opened, serviceName.c_str(), 0) < 0) {
        return EXIT_FAILURE;
    }
    int processed = 0;
    do {
        processed = sd_bus_process(opened, nullptr);
        if (processed == 0) {
            processed = sd_bus_wait(opened, UINT64_MAX);
        }
    } while (processed >= 0);
    return EXIT_SUCCESS;
}

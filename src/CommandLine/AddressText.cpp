// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "CommandLine/AddressText.h"

#include <algorithm>
#include <string_view>
#include <tuple>
#include <utility>

namespace Tarnwick {

namespace {

using Family = ListenAddress::Family;

/// What of a socket's address is written.
struct Item
{
    std::string_view interface;
    Family family = Family::IPv4;
    ListenAddress address;
    bool isForBoth = false; ///< every address of both families

    [[nodiscard]] auto key() const { return std::tie(interface, family, address.bytes); }
};

Item itemFor(const ListenerDetails &socket)
{
    const ListenAddress address = socket.address.unmapped();
    return {.interface = socket.interface,
            .family = address.family,
            .address = address,
            .isForBoth = address.family == Family::IPv6 && address.isAny() && !address.isV6Only};
}

std::string text(const Item &item)
{
    std::string text = item.isForBoth ? "*" : item.address.text();
    if (!item.interface.empty()) {
        text.append("%").append(item.interface);
    }
    return text;
}

/// Makes one item for both families of those for every address of an interface.
void joinFamilies(std::vector<Item> &items)
{
    for (Item &item : items) {
        const auto isOther = [&item](const Item &other) {
            return other.family == Family::IPv4 && other.address.isAny() &&
                   other.interface == item.interface;
        };
        const bool isAnyV6 = item.family == Family::IPv6 && item.address.isAny();
        item.isForBoth =
            item.isForBoth || (isAnyV6 && std::any_of(items.begin(), items.end(), isOther));
    }
    const std::vector<Item> all = items;
    std::erase_if(items, [&all](const Item &item) {
        return item.family == Family::IPv4 && item.address.isAny() &&
               std::any_of(all.begin(), all.end(), [&item](const Item &other) {
                   return other.isForBoth && other.interface == item.interface;
               });
    });
}

} // namespace

std::string AddressText::of(const ListenerDetails &socket)
{
    return text(itemFor(socket));
}

std::vector<std::string> AddressText::all(const Listener &listener)
{
    if (listener.otherSockets.empty()) {
        return {of(listener.details)};
    }
    std::vector<Item> items{itemFor(listener.details)};
    for (const ListenerDetails &other : listener.otherSockets) {
        items.push_back(itemFor(other));
    }
    joinFamilies(items);
    // What is for both families comes first of its own.
    std::stable_sort(items.begin(), items.end(), [](const Item &left, const Item &right) {
        return std::pair(!left.isForBoth, left.key()) < std::pair(!right.isForBoth, right.key());
    });
    std::vector<std::string> texts;
    texts.reserve(items.size());
    std::transform(items.begin(), items.end(), std::back_inserter(texts), text);
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    return texts;
}

std::string AddressText::of(const Listener &listener)
{
    std::vector<std::string> texts = all(listener);
    std::string text = std::move(texts.front());
    if (texts.size() == 2) {
        text.append(", ").append(texts.back());
    } else if (texts.size() > 2) {
        text.append(" +").append(std::to_string(texts.size() - 1));
    }
    return text;
}

} // namespace Tarnwick

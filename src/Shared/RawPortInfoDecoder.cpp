// SPDX-FileCopyrightText: 2026 The Tarnwick authors
// SPDX-License-Identifier: MIT

#include "Shared/RawPortInfoDecoder.h"

#include "Shared/CheckedAllocator.h"
#include "Shared/RawRecordBuilder.h"
#include "Shared/Utf8.h"

#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace Tarnwick {

namespace {

using rapidjson::SizeType;

/// Where an event belongs, told by how many arrays and objects are open.
constexpr std::size_t topLevel = 0;
constexpr std::size_t inListing = 1;
constexpr std::size_t inRecord = 2;
constexpr std::size_t inMember = 3;

/// Takes the parser's events and makes records of them. After the first bad record it only follows
/// the nesting, for the rest of the text must still be seen to be JSON.
class ListingHandler : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, ListingHandler>
{
public:
    explicit ListingHandler(std::size_t payloadSize)
    {
        constexpr std::size_t usualRecordSize = 512;
        m_records.reserve(payloadSize / usualRecordSize);
    }

    // The names and types of the events are the parser's.
    // NOLINTBEGIN(readability-identifier-naming)
    bool Null() { return value(JsonType::Null, {}); }
    bool Bool(bool /*value*/) { return value(JsonType::Boolean, {}); }
    bool RawNumber(const char *text, SizeType length, bool /*copy*/)
    {
        return value(JsonType::Number, {text, length});
    }
    bool String(const char *text, SizeType length, bool /*copy*/)
    {
        return accept({text, length}) && value(JsonType::String, {text, length});
    }
    bool StartArray() { return value(JsonType::Array, {}) && open(); }
    bool EndArray(SizeType /*count*/) { return close(); }
    bool StartObject() { return value(JsonType::Object, {}) && open(); }
    bool EndObject(SizeType /*count*/) { return close(); }
    bool Key(const char *text, SizeType length, bool /*copy*/)
    {
        if (m_buildsRecord && m_depth == inRecord) {
            m_builder.key({text, length});
        }
        return accept({text, length});
    }
    // NOLINTEND(readability-identifier-naming)

    /// Why this handler stopped the parser.
    [[nodiscard]] const std::string &stopReason() const { return m_stopReason; }

    [[nodiscard]] RawPortInfo::Decoded takeResult()
    {
        if (m_error) {
            return *std::move(m_error);
        }
        return std::move(m_records);
    }

private:
    bool value(JsonType type, std::string_view text)
    {
        if (m_error) {
            return true;
        }
        switch (m_depth) {
        case topLevel:
            beginListing(type);
            break;
        case inListing:
            beginRecord(type);
            break;
        case inRecord:
            m_builder.value(type, text);
            break;
        case inMember:
            m_builder.element(type, text);
            break;
        default:
            break;
        }
        return true;
    }

    void beginListing(JsonType type)
    {
        if (type != JsonType::Array) {
            m_error = RawPortInfo::DecodingError{std::nullopt, {}, mismatch(JsonType::Array, type)};
        }
    }

    void beginRecord(JsonType type)
    {
        if (type != JsonType::Object) {
            m_error =
                RawPortInfo::DecodingError{m_records.size(), {}, mismatch(JsonType::Object, type)};
            return;
        }
        m_buildsRecord = true;
        m_builder.start();
    }

    void endRecord()
    {
        m_buildsRecord = false;
        auto built = m_builder.finish();
        if (auto *const fault = std::get_if<RawRecordBuilder::Fault>(&built)) {
            m_error = RawPortInfo::DecodingError{m_records.size(), std::string(fault->key),
                                                 std::move(fault->reason)};
            return;
        }
        m_records.push_back(std::get<RawPortInfo>(std::move(built)));
    }

    bool open()
    {
        if (m_depth == RawPortInfoDecoder::maximumDepth) {
            m_stopReason = "nested deeper than " + std::to_string(m_depth) + " levels";
            return false;
        }
        ++m_depth;
        return true;
    }

    bool close()
    {
        --m_depth;
        if (m_buildsRecord && m_depth == inListing) {
            endRecord();
        }
        return true;
    }

    /// The parser checks the bytes of a text, and the escape sequences of a first surrogate, but
    /// lets the escape sequence of a lone second one pass.
    bool accept(std::string_view text)
    {
        if (!Utf8::isValid(text)) {
            m_stopReason = "The surrogate pair in string is invalid";
            return false;
        }
        return true;
    }

    std::size_t m_depth = topLevel;
    bool m_buildsRecord = false;
    RawRecordBuilder m_builder;
    std::vector<RawPortInfo> m_records;
    std::optional<RawPortInfo::DecodingError> m_error;
    std::string m_stopReason;
};

RawPortInfo::DecodingError payloadError(std::string reason)
{
    return {std::nullopt, {}, std::move(reason)};
}

RawPortInfo::DecodingError syntaxError(std::size_t offset, std::string_view description)
{
    if (description.ends_with('.')) {
        description.remove_suffix(1);
    }
    return payloadError("invalid JSON at byte " + std::to_string(offset) + ": " +
                        std::string(description));
}

} // namespace

RawPortInfo::Decoded RawPortInfoDecoder::decode(std::string_view payload)
{
    if (payload.size() > maximumPayloadSize) {
        return payloadError("longer than " + std::to_string(maximumPayloadSize) + " bytes");
    }
    constexpr unsigned flags = rapidjson::kParseIterativeFlag |
                               rapidjson::kParseValidateEncodingFlag |
                               rapidjson::kParseNumbersAsStringsFlag;
    ListingHandler handler(payload.size());
    rapidjson::MemoryStream stream(payload.data(), payload.size());
    rapidjson::GenericReader<rapidjson::UTF8<>, rapidjson::UTF8<>, CheckedAllocator> reader;
    const rapidjson::ParseResult result = reader.Parse<flags>(stream, handler);

    if (result.Code() == rapidjson::kParseErrorTermination) {
        return syntaxError(result.Offset(), handler.stopReason());
    }
    if (result.IsError()) {
        return syntaxError(result.Offset(), rapidjson::GetParseError_En(result.Code()));
    }
    // The parser takes a NUL for the end of the text.
    if (stream.Tell() != payload.size()) {
        return syntaxError(stream.Tell(), rapidjson::GetParseError_En(
                                              rapidjson::kParseErrorDocumentRootNotSingular));
    }
    return handler.takeResult();
}

} // namespace Tarnwick

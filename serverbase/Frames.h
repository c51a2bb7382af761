#pragma once

#include "providerbase/IWbemClassObject.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

// Frames: four bytes with the length of what follows, the payload, least significant byte first.
namespace messages {

inline constexpr std::size_t kFrameHeaderBytes = 4;
inline constexpr std::size_t kFrameBytes = std::size_t{32} * 1024 * 1024; // of a payload, at most

// The length in a frame's header; nothing when it is greater than kFrameBytes.
std::optional<std::size_t> DecodeFrameLength(std::string_view header);

// Puts a payload together out of its fields.
class CPayloadWriter {
public:
    void PutByte(std::uint8_t value);
    void PutNumber(std::uint32_t value);
    void PutText(std::string_view text); // its length and its bytes

    // The frame with this payload. The writer is then empty.
    std::string TakeFrame();

private:
    std::string m_frame;
};

// Takes a payload's fields in their order. After the first that is not there every further one is
// zero or empty, and IsWhole answers false.
class CPayloadReader {
public:
    explicit CPayloadReader(std::string_view payload) : m_rest(payload) {}

    std::uint8_t TakeByte();
    std::uint32_t TakeNumber();
    // A text of at most this many bytes.
    std::string TakeText(std::size_t maximum);

    // Whether everything was there, and nothing is left.
    [[nodiscard]] bool IsWhole() const { return m_good && m_rest.empty(); }
    [[nodiscard]] bool IsGood() const { return m_good; }

private:
    std::string_view m_rest;
    bool m_good = true;
};

// An object with its class name, and its properties in their order: names, types, values, embedded
// objects. Definitions of properties and methods are left out.
std::string EncodeObject(const IWbemClassObject& object);

// Null when the text is no such object, embeds deeper than kObjectDepth, or has something behind
// it.
inline constexpr std::size_t kObjectDepth = 8;
std::unique_ptr<IWbemClassObject> DecodeObject(std::string_view text);

} // namespace messages

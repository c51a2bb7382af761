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

// The length in a frame's header; nothing when it is greater than kFrameBytes, or `header` is not
// of kFrameHeaderBytes.
std::optional<std::size_t> DecodeFrameLength(std::string_view header);

// Puts a payload together out of its fields.
class CPayloadWriter {
public:
    void PutByte(std::uint8_t value);
    void PutNumber(std::uint32_t value);
    void PutText(std::string_view text); // its length and its bytes

    // The payload, and the frame with it. A frame is empty when its payload would be larger than
    // kFrameBytes. The writer is then empty.
    std::string TakePayload();
    std::string TakeFrame();

private:
    std::string m_payload;
};

// Takes a payload's fields in their order. After the first that is not there every further one is
// zero or empty, and IsWhole answers false. The payload must outlive the reader.
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
    // The next bytes; as many zeros as are wanted, up to four, where they are not there.
    std::string_view Take(std::size_t bytes);

    std::string_view m_rest;
    bool m_good = true;
};

// An object with its class name, and its properties in their order: names, types, values, embedded
// objects. Definitions of properties and methods are left out. DecodeObject gives back an equal
// object, unless it is beyond these limits; then it refuses the text.
std::string EncodeObject(const IWbemClassObject& object);

inline constexpr std::size_t kObjectDepth = 8;               // objects in objects, the outer counts
inline constexpr std::size_t kObjectProperties = 256;        // of one object
inline constexpr std::size_t kObjectCount = 262144;          // objects in a text
inline constexpr std::size_t kObjectNameBytes = 1024;        // of a property or class
inline constexpr std::size_t kObjectTextBytes = kFrameBytes; // of a value

// Null when the text is no such object or has something behind it. Every limit is looked at before
// memory is taken.
std::unique_ptr<IWbemClassObject> DecodeObject(std::string_view text);

} // namespace messages

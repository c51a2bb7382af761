#include "serverbase/Frames.h"

#include <utility>

namespace messages {

namespace {

constexpr unsigned kByteBits = 8;
constexpr std::string_view kZeros{"\0\0\0\0", kFrameHeaderBytes};

void AppendNumber(std::uint32_t value, std::string* text) {
    for (std::size_t i = 0; i < kFrameHeaderBytes; ++i) {
        *text += static_cast<char>(value & 0xFFU);
        value >>= kByteBits;
    }
}

std::uint32_t NumberOf(std::string_view bytes) {
    std::uint32_t value = 0;
    for (std::size_t i = kFrameHeaderBytes; i-- > 0;) {
        value = value << kByteBits | static_cast<unsigned char>(bytes[i]);
    }
    return value;
}

} // namespace

std::optional<std::size_t> DecodeFrameLength(std::string_view header) {
    if (header.size() != kFrameHeaderBytes || NumberOf(header) > kFrameBytes) {
        return std::nullopt;
    }
    return NumberOf(header);
}

void CPayloadWriter::PutByte(std::uint8_t value) {
    m_payload += static_cast<char>(value);
}

void CPayloadWriter::PutNumber(std::uint32_t value) {
    AppendNumber(value, &m_payload);
}

void CPayloadWriter::PutText(std::string_view text) {
    PutNumber(static_cast<std::uint32_t>(text.size()));
    m_payload += text;
}

std::string CPayloadWriter::TakePayload() {
    return std::exchange(m_payload, {});
}

std::string CPayloadWriter::TakeFrame() {
    const std::string payload = TakePayload();
    std::string frame;
    if (payload.size() <= kFrameBytes) {
        frame.reserve(kFrameHeaderBytes + payload.size());
        AppendNumber(static_cast<std::uint32_t>(payload.size()), &frame);
        frame += payload;
    }
    return frame;
}

std::string_view CPayloadReader::Take(std::size_t bytes) {
    m_good = m_good && bytes <= m_rest.size();
    if (!m_good) {
        return kZeros.substr(0, bytes);
    }
    const std::string_view taken = m_rest.substr(0, bytes);
    m_rest.remove_prefix(bytes);
    return taken;
}

std::uint8_t CPayloadReader::TakeByte() {
    return static_cast<std::uint8_t>(Take(1).front());
}

std::uint32_t CPayloadReader::TakeNumber() {
    return NumberOf(Take(kFrameHeaderBytes));
}

std::string CPayloadReader::TakeText(std::size_t maximum) {
    const std::size_t length = TakeNumber();
    m_good = m_good && length <= maximum && length <= m_rest.size();
    return m_good ? std::string(Take(length)) : std::string();
}

} // namespace messages

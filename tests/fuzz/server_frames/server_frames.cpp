// What the daemons of the management server say to each other. The input is a frame's payload, or
// an object as it stands in one.

#include "serverbase/Frames.h"
#include "serverbase/Messages.h"
#include "tests/fuzz/support/CMessageFormat.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/FuzzTarget.h"

#include <string>
#include <variant>

using std::string;

namespace {

constexpr std::size_t kShort = 200; // so much is cut at every place

string FrameOf(const string& payload) {
    messages::CPayloadWriter writer;
    for (const char byte : payload) {
        writer.PutByte(static_cast<std::uint8_t>(byte));
    }
    return writer.TakeFrame();
}

template <class Message>
void RequireSame(const std::optional<Message>& message, bool is, const string& payload) {
    CProperty::Require(message.has_value() == is, "a payload is read when it is a message");
    if (message) {
        CProperty::RequireEqual(FrameOf(payload), Encode(*message), "what is read is written so");
    }
}

// Returns whether it is one.
bool CheckObject(const string& text) {
    const auto object = messages::DecodeObject(text);
    CProperty::Require((object != nullptr) == CMessageFormat::IsObject(text),
                       "a text is read when it is an object");
    if (object != nullptr) {
        CProperty::RequireEqual(text, messages::EncodeObject(*object), "an object is written so");
        CProperty::RequireEqual(text, messages::EncodeObject(*object->Clone()),
                                "and so are its copies");
    }
    return object != nullptr;
}

bool IsMessage(const string& payload) {
    return messages::DecodeRequest(payload) || messages::DecodeCheckAnswer(payload) ||
           messages::DecodeCallAnswer(payload);
}

void CheckMessages(const string& payload) {
    const auto request = messages::DecodeRequest(payload);
    CProperty::Require(request.has_value() == CMessageFormat::IsRequest(payload),
                       "a payload is read when it is a request");
    if (request) {
        CProperty::RequireEqual(
            FrameOf(payload),
            std::visit([](const auto& message) { return Encode(message); }, *request),
            "what is read is written so");
        if (const auto* call = std::get_if<messages::CCallRequest>(&*request)) {
            CheckObject(call->m_inParameters);
        }
    }
    RequireSame(messages::DecodeCheckAnswer(payload), CMessageFormat::IsCheckAnswer(payload),
                payload);
    const auto answer = messages::DecodeCallAnswer(payload);
    RequireSame(answer, CMessageFormat::IsCallAnswer(payload), payload);
    if (answer) {
        CheckObject(answer->m_outParameters);
    }
}

void CheckFrame(const string& payload) {
    const string frame = FrameOf(payload);
    const auto length =
        messages::DecodeFrameLength(std::string_view(frame).substr(0, messages::kFrameHeaderBytes));
    CProperty::Require(length == payload.size(), "a frame tells how long it is");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const string text(data, data + size);
    CheckFrame(text);
    CheckMessages(text);
    const bool isObject = CheckObject(text);
    const bool isMessage = IsMessage(text);
    for (std::size_t cut = 0; cut < std::min(size, kShort); ++cut) {
        const string beginning = text.substr(0, cut);
        CProperty::Require(!isMessage || !IsMessage(beginning), "a message is not another's begin");
        CProperty::Require(!isObject || !messages::DecodeObject(beginning),
                           "an object is not another's begin");
    }
    return 0;
}

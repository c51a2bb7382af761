#include "serverbase/Messages.h"

#include <utility>

namespace messages {

namespace {

enum class Kind : std::uint8_t { CheckRequest = 1, CallRequest, CheckAnswer, CallAnswer };

template <class Enumeration>
std::uint8_t ByteOf(Enumeration value) {
    return static_cast<std::uint8_t>(value);
}

CPayloadWriter Begun(Kind kind) {
    CPayloadWriter writer;
    writer.PutByte(ByteOf(kind));
    return writer;
}

CPayloadWriter BegunRequest(Kind kind, const CCredentials& credentials, const std::string& peer) {
    CPayloadWriter writer = Begun(kind);
    writer.PutText(credentials.m_user);
    writer.PutText(credentials.m_password);
    writer.PutText(peer);
    return writer;
}

// The message, if the reader found all of it and nothing else.
template <class Message, class Wanted = Message>
std::optional<Wanted> IfWhole(const CPayloadReader& reader, Message message) {
    return reader.IsWhole() ? std::optional<Wanted>(std::move(message)) : std::nullopt;
}

CCredentials TakeCredentials(CPayloadReader* reader) {
    CCredentials credentials;
    credentials.m_user = reader->TakeText(kCredentialBytes);
    credentials.m_password = reader->TakeText(kCredentialBytes);
    return credentials;
}

} // namespace

std::string Encode(const CCheckRequest& request) {
    return BegunRequest(Kind::CheckRequest, request.m_credentials, request.m_peer).TakeFrame();
}

std::string Encode(const CCallRequest& request) {
    CPayloadWriter writer = BegunRequest(Kind::CallRequest, request.m_credentials, request.m_peer);
    writer.PutText(request.m_method);
    writer.PutText(request.m_inParameters);
    return writer.TakeFrame();
}

std::string Encode(const CCheckAnswer& answer) {
    CPayloadWriter writer = Begun(Kind::CheckAnswer);
    writer.PutByte(answer.m_authenticated ? 1 : 0);
    writer.PutByte(ByteOf(answer.m_right));
    return writer.TakeFrame();
}

std::string Encode(const CCallAnswer& answer) {
    CPayloadWriter writer = Begun(Kind::CallAnswer);
    writer.PutByte(ByteOf(answer.m_result));
    writer.PutNumber(answer.m_uiReturnValue);
    writer.PutText(answer.m_outParameters);
    return writer.TakeFrame();
}

std::optional<Request> DecodeRequest(std::string_view payload) {
    CPayloadReader reader(payload);
    const auto kind = static_cast<Kind>(reader.TakeByte());
    if (kind == Kind::CheckRequest) {
        CCheckRequest request;
        request.m_credentials = TakeCredentials(&reader);
        request.m_peer = reader.TakeText(kPeerBytes);
        return IfWhole<CCheckRequest, Request>(reader, std::move(request));
    }
    if (kind == Kind::CallRequest) {
        CCallRequest request;
        request.m_credentials = TakeCredentials(&reader);
        request.m_peer = reader.TakeText(kPeerBytes);
        request.m_method = reader.TakeText(kMethodBytes);
        request.m_inParameters = reader.TakeText(kObjectBytes);
        return IfWhole<CCallRequest, Request>(reader, std::move(request));
    }
    return std::nullopt;
}

std::optional<CCheckAnswer> DecodeCheckAnswer(std::string_view payload) {
    CPayloadReader reader(payload);
    const auto kind = static_cast<Kind>(reader.TakeByte());
    const std::uint8_t authenticated = reader.TakeByte();
    const std::uint8_t right = reader.TakeByte();
    const bool fits = authenticated == 1 ? right <= ByteOf(Right::Change) : right == 0;
    if (kind != Kind::CheckAnswer || authenticated > 1 || !fits) {
        return std::nullopt;
    }
    return IfWhole(reader, CCheckAnswer{authenticated == 1, static_cast<Right>(right)});
}

std::optional<CCallAnswer> DecodeCallAnswer(std::string_view payload) {
    CPayloadReader reader(payload);
    const auto kind = static_cast<Kind>(reader.TakeByte());
    const std::uint8_t result = reader.TakeByte();
    CCallAnswer answer;
    answer.m_result = static_cast<CallResult>(result);
    answer.m_uiReturnValue = reader.TakeNumber();
    answer.m_outParameters = reader.TakeText(kObjectBytes);
    if (kind != Kind::CallAnswer || result > ByteOf(CallResult::Failed)) {
        return std::nullopt;
    }
    return IfWhole(reader, std::move(answer));
}

} // namespace messages

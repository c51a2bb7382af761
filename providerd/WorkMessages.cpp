#include "providerd/WorkMessages.h"

namespace providerd {

using messages::CallResult;
using messages::CPayloadReader;
using messages::CPayloadWriter;
using messages::kFrameBytes;

std::string Encode(const CWorkRequest& request) {
    CPayloadWriter writer;
    writer.PutText(request.m_method);
    writer.PutText(request.m_inParameters);
    writer.PutText(request.m_user);
    writer.PutText(request.m_peer);
    writer.PutNumber(request.m_time);
    return writer.TakeFrame();
}

std::string Encode(const CWorkAnswer& answer) {
    CPayloadWriter writer;
    writer.PutByte(static_cast<std::uint8_t>(answer.m_result));
    writer.PutNumber(answer.m_returnValue);
    writer.PutText(answer.m_outParameters);
    writer.PutText(answer.m_historyId);
    return writer.TakeFrame();
}

std::optional<CWorkRequest> DecodeWorkRequest(std::string_view payload) {
    CPayloadReader reader(payload);
    CWorkRequest request;
    request.m_method = reader.TakeText(kFrameBytes);
    request.m_inParameters = reader.TakeText(kFrameBytes);
    request.m_user = reader.TakeText(kFrameBytes);
    request.m_peer = reader.TakeText(kFrameBytes);
    request.m_time = reader.TakeNumber();
    return reader.IsWhole() ? std::optional(std::move(request)) : std::nullopt;
}

std::optional<CWorkAnswer> DecodeWorkAnswer(std::string_view payload) {
    CPayloadReader reader(payload);
    const std::uint8_t result = reader.TakeByte();
    CWorkAnswer answer;
    answer.m_returnValue = reader.TakeNumber();
    answer.m_outParameters = reader.TakeText(kFrameBytes);
    answer.m_historyId = reader.TakeText(kFrameBytes);
    if (!reader.IsWhole() || result > static_cast<std::uint8_t>(CallResult::Failed)) {
        return std::nullopt;
    }
    answer.m_result = static_cast<CallResult>(result);
    return answer;
}

} // namespace providerd

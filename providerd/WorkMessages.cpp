#include "providerd/WorkMessages.h"

#include <utility>

namespace providerd {

using messages::CallResult;
using messages::CPayloadReader;
using messages::CPayloadWriter;
using messages::kFrameBytes;

namespace {

enum class Kind : std::uint8_t { Note = 1, Answer };

std::optional<WorkerMessage> TakeAnswer(CPayloadReader* reader) {
    const std::uint8_t result = reader->TakeByte();
    CWorkAnswer answer;
    answer.m_result = static_cast<CallResult>(result);
    answer.m_returnValue = reader->TakeNumber();
    answer.m_outParameters = reader->TakeText(kFrameBytes);
    if (!reader->IsWhole() || result > static_cast<std::uint8_t>(CallResult::Failed)) {
        return std::nullopt;
    }
    return answer;
}

} // namespace

std::string Encode(const CWorkRequest& request) {
    CPayloadWriter writer;
    writer.PutText(request.m_method);
    writer.PutText(request.m_inParameters);
    writer.PutText(request.m_user);
    writer.PutText(request.m_peer);
    writer.PutNumber(request.m_time);
    return writer.TakeFrame();
}

std::string Encode(const CWorkNote& note) {
    CPayloadWriter writer;
    writer.PutByte(static_cast<std::uint8_t>(Kind::Note));
    writer.PutText(note.m_historyId);
    return writer.TakeFrame();
}

std::string Encode(const CWorkAnswer& answer) {
    CPayloadWriter writer;
    writer.PutByte(static_cast<std::uint8_t>(Kind::Answer));
    writer.PutByte(static_cast<std::uint8_t>(answer.m_result));
    writer.PutNumber(answer.m_returnValue);
    writer.PutText(answer.m_outParameters);
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

std::optional<WorkerMessage> DecodeWorkerMessage(std::string_view payload) {
    CPayloadReader reader(payload);
    const auto kind = static_cast<Kind>(reader.TakeByte());
    if (kind == Kind::Answer) {
        return TakeAnswer(&reader);
    }
    CWorkNote note{reader.TakeText(kFrameBytes)};
    return kind == Kind::Note && reader.IsWhole() ? std::optional<WorkerMessage>(std::move(note))
                                                  : std::nullopt;
}

} // namespace providerd

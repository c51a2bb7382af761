#include "providerd/MethodCall.h"

#include <utility>

namespace providerd {

namespace {

using messages::CallResult;
using messages::CCallAnswer;

bool HasFrame(const CCallAnswer& answer) {
    return answer.m_outParameters.size() <= messages::kObjectBytes;
}

} // namespace

CFinishedCall::CFinishedCall(const CCallAnswer& answer, std::string historyId)
    : m_result(HasFrame(answer) ? answer.m_result : CallResult::Failed),
      m_uiReturnValue(answer.m_uiReturnValue),
      m_historyId(std::move(historyId)),
      m_frame(std::make_shared<std::string>(
          Encode(HasFrame(answer) ? answer : CCallAnswer{CallResult::Failed, 0, {}}))) {}

CFinishedCall::CFinishedCall(CallResult result) : CFinishedCall(CCallAnswer{result, 0, {}}) {}

} // namespace providerd

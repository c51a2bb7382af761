#pragma once

#include "providerd/MethodCall.h"
#include "serverbase/Frames.h"

#include <string>
#include <string_view>

// The output parameters in the answer to a call.
inline std::string OutputOf(const providerd::CFinishedCall& finished) {
    const std::string_view frame = *finished.m_frame;
    const auto answer = messages::DecodeCallAnswer(frame.substr(messages::kFrameHeaderBytes));
    return answer ? answer->m_outParameters : "no answer";
}

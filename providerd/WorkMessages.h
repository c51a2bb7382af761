#pragma once

#include "serverbase/Messages.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// What the daemon and its worker say to each other: a request, then its answer, and so on. Each is
// one frame.
namespace providerd {

// The descriptor that a worker finds its end of the connection at.
inline constexpr int kWorkerDescriptor = 3;

struct CWorkRequest {
    std::string m_method;
    std::string m_inParameters; // an object as messages::EncodeObject writes it; empty: none
    std::string m_user;         // who asks; empty where it is not known
    std::string m_peer;         // from where
    std::uint32_t m_time = 0; // in milliseconds, of the call: the worker dies when it takes longer
};

struct CWorkAnswer {
    messages::CallResult m_result = messages::CallResult::Failed;
    std::uint32_t m_returnValue = 0; // of Done
    std::string m_outParameters;     // of Done; empty when the method gave none
    std::string m_historyId;         // of the copy that was kept; empty when none was
};

// A message as a whole frame.
std::string Encode(const CWorkRequest& request);
std::string Encode(const CWorkAnswer& answer);

// A frame's payload as a message; nothing when it is none.
std::optional<CWorkRequest> DecodeWorkRequest(std::string_view payload);
std::optional<CWorkAnswer> DecodeWorkAnswer(std::string_view payload);

} // namespace providerd

#pragma once

#include "serverbase/Messages.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

// What the daemon and its worker say to each other: a request, then its answer, and so on. Before
// the answer comes a note, when there is something to be noted. Each is one frame.
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

// Sent before anything is changed, so that it is known whatever becomes of the call.
struct CWorkNote {
    std::string m_historyId; // of the copy that was kept
};

struct CWorkAnswer {
    messages::CallResult m_result = messages::CallResult::Failed;
    std::uint32_t m_returnValue = 0; // of Done
    std::string m_outParameters;     // of Done; empty when the method gave none
};

// A message as a whole frame.
std::string Encode(const CWorkRequest& request);
std::string Encode(const CWorkNote& note);
std::string Encode(const CWorkAnswer& answer);

// A frame's payload as a message; nothing when it is none.
using WorkerMessage = std::variant<CWorkNote, CWorkAnswer>;
std::optional<CWorkRequest> DecodeWorkRequest(std::string_view payload);
std::optional<WorkerMessage> DecodeWorkerMessage(std::string_view payload);

} // namespace providerd

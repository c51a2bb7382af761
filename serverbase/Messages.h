#pragma once

#include "serverbase/Frames.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

// What the management server's front end and the daemon that calls the provider say to each other:
// one request, then its answer, then the next request on the same connection. Each is one frame.
namespace messages {

// As the management client sent them. Texts are bytes; lengths are bounded by kCredentialBytes.
struct CCredentials {
    std::string m_user;
    std::string m_password;

    bool operator==(const CCredentials& other) const {
        return m_user == other.m_user && m_password == other.m_password;
    }
};
inline constexpr std::size_t kCredentialBytes = 1024; // for the user and the password each
inline constexpr std::size_t kPeerBytes = 128;        // for a peer
inline constexpr std::size_t kMethodBytes = 256;      // for a method's name
inline constexpr std::size_t kObjectBytes = kFrameBytes - std::size_t{4} * 1024; // for parameters

// What a user may do; changing includes reading.
enum class Right : std::uint8_t { None = 0, Read = 1, Change = 2 };

// Asks whether the credentials are right, and what their user may do.
struct CCheckRequest {
    CCredentials m_credentials;
    std::string m_peer; // the management client's address, without its port
};
struct CCheckAnswer {
    bool m_authenticated = false;
    Right m_right = Right::None; // None unless authenticated
};

// Asks for a method call. The credentials are checked again.
struct CCallRequest {
    CCredentials m_credentials;
    std::string m_peer;
    std::string m_method;       // "GetParameter" or "SetParameter"
    std::string m_inParameters; // an object as EncodeObject writes it; empty: none
};

enum class CallResult : std::uint8_t {
    Done = 0,         // the method answered; its return value tells how it went
    WrongCredentials, // nothing was called
    NotAllowed,       // the user lacks the right; nothing was called
    NoMethod,         // there is no such method; nothing was called
    NotAvailable,     // the provider cannot be loaded
    QueueFull,        // too many calls wait; nothing was called
    ShuttingDown,     // nothing was called
    NotKept,          // the settings could not be kept in the history; nothing was changed
    TimedOut,         // the call took longer than it may; a change may be half done
    Died,             // the process that made the call ended; a change may be half done
    Failed,           // an error of the server's own
    Unknown           // in no message: it was asked, and there is no answer to be had
};
struct CCallAnswer {
    CallResult m_result = CallResult::Failed;
    std::uint32_t m_uiReturnValue = 0; // of Done
    std::string m_outParameters;       // of Done: the output object, as EncodeObject writes it
};

// A message as a whole frame (Frames.h). Its texts must be within the limits above: one that is not
// makes a frame that nobody takes for a message, or none.
std::string Encode(const CCheckRequest& request);
std::string Encode(const CCallRequest& request);
std::string Encode(const CCheckAnswer& answer);
std::string Encode(const CCallAnswer& answer);

// A frame's payload as a message; nothing when it is none, for it holds an unknown kind or value, a
// text that is longer than it may be, too little or too much.
using Request = std::variant<CCheckRequest, CCallRequest>;
std::optional<Request> DecodeRequest(std::string_view payload);
std::optional<CCheckAnswer> DecodeCheckAnswer(std::string_view payload);
std::optional<CCallAnswer> DecodeCallAnswer(std::string_view payload);

} // namespace messages

#pragma once

#include "serverbase/Messages.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace wbemd {

// The headers that say what a request is, as they were sent; nothing where one is absent.
struct CRequestHead {
    std::optional<std::string> m_contentType;
    std::optional<std::string> m_contentEncoding;
    std::optional<std::string> m_cimOperation;
    std::optional<std::string> m_cimMethod;
    std::optional<std::string> m_cimObject;
};

// An answer, but for what every answer carries (Content-Length, Date and the like).
struct CHttpAnswer {
    static constexpr unsigned kOk = 200;
    unsigned m_status = kOk;
    std::vector<std::pair<std::string, std::string>> m_headers;
    std::string m_body;
    bool m_keepOpen = true; // whether the connection may serve another request
};

// A call of the provider that a request asks for, and what its answer needs of the request.
struct CPendingCall {
    std::string m_method;       // as the class spells it
    std::string m_inParameters; // as messages::EncodeObject writes them; empty: none
    std::string m_messageId;
    std::string m_spelledMethod; // as the request spells it
    // The answer when there is no memory for another one once the call was made.
    CHttpAnswer m_withoutMemory = {};
    bool m_changes = true; // the settings; false: it reads them
};

// The answer to a request without right credentials, whoever found out.
CHttpAnswer WrongCredentials();

// What the server serves (DSP0200 and DSP0201): reads a request whose credentials are right and
// answers it, or says which call of the provider it asks for. Touches nothing but its class
// definitions and what it wrote last; any number of threads can ask at the same time.
class COperations {
public:
    // Loads the class definitions. The name of this system is what the server calls itself by in
    // the namespace interop. On failure null comes back and *error says which file is concerned,
    // what is wrong with it and what to do.
    static std::unique_ptr<COperations> Open(const std::string& definitionsPath,
                                             const std::string& interopPath,
                                             const std::string& systemName, std::string* error);
    ~COperations();
    COperations(const COperations&) = delete;
    COperations& operator=(const COperations&) = delete;

    // The body is whole. `right` is what the user may do. Without memory for an answer it is 503,
    // and std::bad_alloc when there is none even for that; nothing else is thrown.
    [[nodiscard]] std::variant<CHttpAnswer, CPendingCall>
    Answer(const CRequestHead& head, std::string_view body, messages::Right right) const;

    // The answer to the request that asked for the call, which was made or may have been. Throws
    // std::bad_alloc alone; then the answer is the call's own m_withoutMemory.
    [[nodiscard]] CHttpAnswer Finish(const CPendingCall& call,
                                     const messages::CCallAnswer& answer) const;

private:
    [[nodiscard]] std::variant<CHttpAnswer, CPendingCall>
    AnswerRequest(const CRequestHead& head, std::string_view body, messages::Right right) const;

    struct Parts;
    explicit COperations(std::unique_ptr<Parts> parts);

    std::unique_ptr<Parts> m_parts;
};

} // namespace wbemd

// Operations without CIM, which show what they were given. A body is an instruction:
//   call TEXT    asks for the method GetParameter with this for its parameters. When TEXT
//                begins with "no memory" there is none once the call was made
//   change TEXT  asks for the method SetParameter in the same way
//   status N     an answer with this status that closes the connection
//   long N       an answer of so many bytes
//   short TEXT   a short answer, however long the text is
//   no memory    throws
//   no memory at all TEXT
//                throws, and finds no memory for the next allocation, either
//   lack N       finds no memory for the Nth allocation from then on, in all of the process
// Any other body is repeated.

#include "wbemd/operations/COperations.h"

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

namespace {

std::atomic<long> allocationsLeft{0}; // until the one that finds no memory

} // namespace

#ifndef KZM_NO_FAULT_TRANSLATION // the sanitizers have an allocator of their own
void* operator new(std::size_t size) {
    const bool isToFail = allocationsLeft > 0 && --allocationsLeft == 0;
    if (void* const memory = isToFail ? nullptr : std::malloc(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
#endif

namespace wbemd {

namespace {

const std::string kCall = "call ";
const std::string kChange = "change ";
const std::string kStatus = "status ";
const std::string kLong = "long ";
const std::string kShort = "short ";
const std::string kLack = "lack ";
const std::string kNone = "no memory at all ";

std::string Shown(const char* name, const std::optional<std::string>& value) {
    return value ? std::string(name) + "=" + *value + "\n" : "";
}

CHttpAnswer Said(std::string body) {
    CHttpAnswer answer;
    answer.m_headers.emplace_back("Content-Type", "text/plain; charset=\"utf-8\"");
    answer.m_body = std::move(body);
    return answer;
}

// What follows the instruction; nothing where it is another one.
std::optional<std::string> Argument(std::string_view body, const std::string& instruction) {
    if (body.substr(0, instruction.size()) != instruction) {
        return std::nullopt;
    }
    return std::string(body.substr(instruction.size()));
}

CPendingCall Pending(const char* method, const std::string& parameters, bool changes) {
    CPendingCall call;
    call.m_method = method;
    call.m_inParameters = parameters;
    call.m_messageId = "17";
    call.m_withoutMemory = Said("called, but there is no memory\n");
    call.m_withoutMemory.m_keepOpen = false;
    call.m_changes = changes;
    return call;
}

} // namespace

struct COperations::Parts {};

COperations::COperations(std::unique_ptr<Parts> parts) : m_parts(std::move(parts)) {}
COperations::~COperations() = default;

std::unique_ptr<COperations> COperations::Open(const std::string& /*definitionsPath*/,
                                               const std::string& /*interopPath*/,
                                               const std::string& /*systemName*/,
                                               std::string* /*error*/) {
    return std::unique_ptr<COperations>(new COperations(std::make_unique<Parts>()));
}

std::variant<CHttpAnswer, CPendingCall>
COperations::Answer(const CRequestHead& head, std::string_view body, messages::Right right) const {
    if (const auto parameters = Argument(body, kCall)) {
        return Pending("GetParameter", *parameters, false);
    }
    if (const auto parameters = Argument(body, kChange)) {
        return Pending("SetParameter", *parameters, true);
    }
    if (const auto status = Argument(body, kStatus)) {
        CHttpAnswer answer = Said("as told\n");
        answer.m_status = static_cast<unsigned>(std::stoul(*status));
        answer.m_keepOpen = false;
        return answer;
    }
    if (const auto length = Argument(body, kLong)) {
        return Said(std::string(std::stoul(*length), 'x'));
    }
    if (Argument(body, kShort)) {
        return Said("as told\n");
    }
    if (const auto number = Argument(body, kLack)) {
        allocationsLeft = std::stol(*number);
        return Said("as told\n");
    }
    if (Argument(body, kNone)) {
        allocationsLeft = 1;
        throw std::bad_alloc();
    }
    if (body == "no memory") {
        throw std::bad_alloc();
    }
    return Said(Shown("type", head.m_contentType) + Shown("encoding", head.m_contentEncoding) +
                Shown("operation", head.m_cimOperation) + Shown("method", head.m_cimMethod) +
                Shown("object", head.m_cimObject) + "right=" +
                std::to_string(static_cast<int>(right)) + "\n" + std::string(body) + "\n");
}

CHttpAnswer COperations::Finish(const CPendingCall& call,
                                const messages::CCallAnswer& answer) const {
    if (answer.m_result == messages::CallResult::WrongCredentials) {
        return WrongCredentials();
    }
    if (Argument(answer.m_outParameters, "no memory")) {
        throw std::bad_alloc();
    }
    return Said(call.m_messageId + " result=" + std::to_string(static_cast<int>(answer.m_result)) +
                " value=" + std::to_string(answer.m_uiReturnValue) + " " + answer.m_outParameters +
                "\n");
}

} // namespace wbemd

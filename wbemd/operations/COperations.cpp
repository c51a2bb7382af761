#include "wbemd/operations/COperations.h"

#include "host/CCimXmlReader.h"
#include "host/CimText.h"
#include "wbemd/operations/CLastContent.h"
#include "wbemd/operations/HttpAnswers.h"
#include "wbemd/operations/Interop.h"
#include "wbemd/operations/IntrinsicOperations.h"
#include "wbemd/operations/MethodCalls.h"
#include "wbemd/operations/RequestHead.h"

#include <new>

namespace wbemd {

namespace {

constexpr char kProviderNamespace[] = "root/cimv2";
constexpr char kInstallAgain[] = "; install the package's own file again";

// What makes the definitions of no use; empty when they are good.
std::string FindProblem(const CServedNamespace& provider) {
    const CServedClass* served = provider.FindClass(kProviderClass);
    return served == nullptr ? std::string("the class ") + kProviderClass + " is not defined"
                             : FindUnservable(served->m_definition);
}

CAnsweredRequest AnsweredRequest(const CCimRequest& request) {
    return {request.m_isIntrinsic, request.m_messageId, request.m_method};
}

CHttpAnswer ToAnswer(const CAnsweredRequest& request,
                     const tl::expected<std::string, CCimError>& content) {
    return CimAnswer(content ? WriteAnswer(request, *content)
                             : WriteError(request, content.error()));
}

} // namespace

struct COperations::Parts {
    Parts(CServedNamespace provider, CServedNamespace interop)
        : m_provider(std::move(provider)),
          m_interop(std::move(interop)) {}

    CServedNamespace m_provider;
    CServedNamespace m_interop;
    CLastContent m_lastContent;

    [[nodiscard]] const CServedNamespace* FindNamespace(const std::string& name) const;
    [[nodiscard]] std::variant<CHttpAnswer, CPendingCall> Serve(const CCimRequest& request,
                                                                messages::Right right) const;
    [[nodiscard]] CHttpAnswer Finish(const CPendingCall& call, const messages::CCallAnswer& answer);
};

std::unique_ptr<COperations> COperations::Open(const std::string& definitionsPath,
                                               const std::string& interopPath,
                                               const std::string& systemName, std::string* error) {
    auto classes = CCimXmlReader::ReadFile(definitionsPath, error);
    if (!classes) {
        return nullptr;
    }
    auto interop = CCimXmlReader::ReadFile(interopPath, error);
    if (!interop) {
        return nullptr;
    }
    auto parts = std::make_unique<Parts>(CServedNamespace(kProviderNamespace, std::move(*classes)),
                                         CServedNamespace(kInteropNamespace, std::move(*interop)));
    std::string problem = FindProblem(parts->m_provider);
    if (!problem.empty()) {
        *error = definitionsPath + ": " + problem + kInstallAgain;
        return nullptr;
    }
    problem = AddInteropInstances(systemName, {parts->m_provider.Name(), parts->m_interop.Name()},
                                  &parts->m_interop);
    if (!problem.empty()) {
        *error = interopPath + ": " + problem + kInstallAgain;
        return nullptr;
    }
    return std::unique_ptr<COperations>(new COperations(std::move(parts)));
}

COperations::COperations(std::unique_ptr<Parts> parts) : m_parts(std::move(parts)) {}

COperations::~COperations() = default;

std::variant<CHttpAnswer, CPendingCall>
COperations::Answer(const CRequestHead& head, std::string_view body, messages::Right right) const {
    try {
        return AnswerRequest(head, body, right);
    } catch (const std::bad_alloc&) {
        return NoMemoryAnswer("The server is out of memory. Try again later.");
    }
}

std::variant<CHttpAnswer, CPendingCall> COperations::AnswerRequest(const CRequestHead& head,
                                                                   std::string_view body,
                                                                   messages::Right right) const {
    if (const auto refusal = CheckHead(head)) {
        return RefusalAnswer(*refusal);
    }
    const auto document = ParseRequest(body);
    if (!document) {
        return RefusalAnswer(document.error());
    }
    const auto request = ReadRequest(document->GetRoot());
    if (!request) {
        return RefusalAnswer(request.error());
    }
    if (const auto refusal = CheckAnnounced(head, *request)) {
        return RefusalAnswer(*refusal);
    }
    return m_parts->Serve(*request, right);
}

CHttpAnswer COperations::Finish(const CPendingCall& call,
                                const messages::CCallAnswer& answer) const {
    if (answer.m_result == messages::CallResult::WrongCredentials) {
        return WrongCredentials();
    }
    return m_parts->Finish(call, answer);
}

const CServedNamespace* COperations::Parts::FindNamespace(const std::string& name) const {
    for (const CServedNamespace* served : {&m_provider, &m_interop}) {
        if (cim::AreSameNames(served->Name(), name)) {
            return served;
        }
    }
    return nullptr;
}

std::variant<CHttpAnswer, CPendingCall> COperations::Parts::Serve(const CCimRequest& request,
                                                                  messages::Right right) const {
    const CAnsweredRequest answered = AnsweredRequest(request);
    const CServedNamespace* served = FindNamespace(request.m_namespace);
    if (served == nullptr) {
        return CimAnswer(WriteError(
            answered, {CimCode::InvalidNamespace,
                       "There is no namespace " + cim::Quote(request.m_namespace) + " here, but " +
                           m_provider.Name() + " and " + m_interop.Name() + "."}));
    }
    if (request.m_isIntrinsic) {
        return ToAnswer(answered, RunIntrinsic(*served, request, right));
    }
    auto call = PrepareCall(*served, request, right);
    if (!call) {
        return CimAnswer(WriteError(answered, call.error()));
    }
    call->m_withoutMemory = CimAnswer(
        WriteError(answered, {CimCode::Failed,
                              "The method was called, but the server is out of memory to "
                              "tell how that went. Read the settings before anything else."}));
    call->m_withoutMemory.m_keepOpen = false;
    return std::move(*call);
}

// What the request is told apart by stands around the content, and so the content may be another's.
CHttpAnswer COperations::Parts::Finish(const CPendingCall& call,
                                       const messages::CCallAnswer& answer) {
    const CAnsweredRequest request{false, call.m_messageId, call.m_spelledMethod};
    CLastContent::Text content = m_lastContent.Find(call.m_method, answer);
    if (content == nullptr) {
        auto written = WriteCallAnswer(m_provider, call, answer);
        if (!written) {
            return CimAnswer(WriteError(request, written.error()));
        }
        content = std::make_shared<const std::string>(std::move(*written));
        m_lastContent.Keep(call.m_method, answer, content);
    }
    return CimAnswer(WriteAnswer(request, *content));
}

} // namespace wbemd

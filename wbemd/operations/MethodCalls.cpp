#include "wbemd/operations/MethodCalls.h"

#include "host/CimText.h"
#include "serverbase/Frames.h"
#include "wbemd/cimxml/CXmlWriter.h"
#include "wbemd/operations/Rights.h"

#include <algorithm>
#include <optional>

namespace wbemd {

namespace {

constexpr char kReadingMethod[] = "GetParameter"; // every other method changes the settings

tl::unexpected<CCimError> Fail(CimCode code, std::string text) {
    return tl::unexpected(CCimError{code, std::move(text)});
}

const CCimMethod* FindMethod(const CCimClass& definition, const std::string& name) {
    const auto found = std::find_if(
        definition.m_methods.begin(), definition.m_methods.end(),
        [&](const CCimMethod& method) { return cim::AreSameNames(method.m_sName, name); });
    return found == definition.m_methods.end() ? nullptr : &*found;
}

std::optional<CCimError> CheckRight(const CCimMethod& method, messages::Right right) {
    if (method.m_sName == kReadingMethod) {
        return MayRead(right) ? std::nullopt : std::optional(MayNotRead());
    }
    return MayChange(right) ? std::nullopt : std::optional(MayNotChange());
}

// Why a call did not end with a return value.
CCimError ErrorOf(const CPendingCall& call, messages::CallResult result) {
    using messages::CallResult;
    switch (result) {
    case CallResult::NotAllowed:
        return call.m_method == kReadingMethod ? MayNotRead() : MayNotChange();
    case CallResult::NoMethod:
        return {CimCode::MethodNotFound, "The provider has no such method."};
    case CallResult::NotAvailable:
        return {CimCode::MethodNotAvailable,
                "The provider cannot be used. The log of the server says why."};
    case CallResult::QueueFull:
        return {CimCode::Failed, "Too many calls wait for the provider. Try again later."};
    case CallResult::ShuttingDown:
        return {CimCode::Failed, "The server is shutting down. Try again later."};
    case CallResult::NotKept:
        return {CimCode::Failed,
                "Nothing was changed, because the present settings could not be kept in the "
                "history. The log of the server says why."};
    case CallResult::TimedOut:
        return {CimCode::Failed, "The method took too long and was given up. A change may be half "
                                 "done: read the settings before anything else."};
    case CallResult::Died:
        return {CimCode::Failed,
                "The provider ended in the middle of the call. A change may be half done: read the "
                "settings before anything else."};
    default:
        return {CimCode::Failed, "The server failed. Its log says why."};
    }
}

} // namespace

tl::expected<CPendingCall, CCimError> PrepareCall(const CServedNamespace& served,
                                                  const CCimRequest& request,
                                                  messages::Right right) {
    if (request.m_isOfInstance) {
        return Fail(CimCode::NotFound, "There is no such instance. The methods are static: call "
                                       "them on the class.");
    }
    const CServedClass* target = served.FindClass(request.m_class);
    if (target == nullptr) {
        return Fail(CimCode::InvalidClass, "There is no class " + cim::Quote(request.m_class) +
                                               " in the namespace " + served.Name() + ".");
    }
    const CCimMethod* method = FindMethod(target->m_definition, request.m_method);
    if (method == nullptr) {
        return Fail(CimCode::MethodNotFound, "The class " + target->m_definition.m_sName +
                                                 " has no method " +
                                                 cim::Quote(request.m_method) + ".");
    }
    if (auto error = CheckRight(*method, right)) {
        return tl::unexpected(std::move(*error));
    }
    return CPendingCall{method->m_sName, {}, request.m_messageId, request.m_method};
}

tl::expected<std::string, CCimError> WriteCallAnswer(const CServedNamespace& served,
                                                     const CPendingCall& call,
                                                     const messages::CCallAnswer& answer) {
    if (answer.m_result != messages::CallResult::Done) {
        return tl::unexpected(ErrorOf(call, answer.m_result));
    }
    const CCimMethod* method =
        FindMethod(served.FindClass(kProviderClass)->m_definition, call.m_method);
    CXmlWriter xml;
    xml.Open("RETURNVALUE", {{"PARAMTYPE", CimTypeName(method->m_returnType)}});
    xml.Element("VALUE", std::to_string(answer.m_uiReturnValue));
    xml.Close("RETURNVALUE");
    return xml.Take();
}

} // namespace wbemd

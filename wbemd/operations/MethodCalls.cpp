#include "wbemd/operations/MethodCalls.h"

#include "host/CimText.h"
#include "host/InstanceText.h"
#include "serverbase/Frames.h"
#include "wbemd/cimxml/CXmlWriter.h"
#include "wbemd/cimxml/InParameters.h"
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

std::optional<CCimError> CheckRight(bool changes, messages::Right right) {
    if (changes) {
        return MayChange(right) ? std::nullopt : std::optional(MayNotChange());
    }
    return MayRead(right) ? std::nullopt : std::optional(MayNotRead());
}

// Why a call did not end with a return value.
CCimError ErrorOf(const CPendingCall& call, messages::CallResult result) {
    using messages::CallResult;
    switch (result) {
    case CallResult::NotAllowed:
        return call.m_changes ? MayNotChange() : MayNotRead();
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
    case CallResult::Unknown:
        return {CimCode::Failed,
                "The daemon that calls the provider gave no answer in time. Whether the method was "
                "called is not known: read the settings before anything else."};
    default:
        return {CimCode::Failed, "The server failed. Its log says why."};
    }
}

// What the method gave back by its out-parameters; those that it did not set are left out. False
// when one is not what the class says.
bool WriteOutParameters(const CServedNamespace& served, const CCimMethod& method,
                        const IWbemClassObject& output, CXmlWriter* xml) {
    for (const CCimParameter& parameter : method.m_parameters) {
        const CWbemValue* value = output.Get(parameter.m_sName.c_str());
        if (!parameter.m_bOut || value == nullptr ||
            std::holds_alternative<std::monostate>(*value)) {
            continue;
        }
        const auto* object = std::get_if<CWbemObjectPtr>(value);
        std::string error;
        const auto text = object == nullptr
                              ? std::nullopt
                              : cim::InstanceText(**object, parameter.m_sEmbeddedClass,
                                                  served.Definitions(), &error);
        if (!text) {
            return false;
        }
        xml->Open("PARAMVALUE", {{"NAME", parameter.m_sName},
                                 {"PARAMTYPE", CimTypeName(parameter.m_type)},
                                 {"EmbeddedObject", "instance"}});
        xml->Element("VALUE", *text);
        xml->Close("PARAMVALUE");
    }
    return true;
}

} // namespace

tl::expected<CPendingCall, CCimError>
PrepareCall(const CServedNamespace& served, const CCimRequest& request, messages::Right right) {
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
                                                 " has no method " + cim::Quote(request.m_method) +
                                                 ".");
    }
    const bool changes = method->m_sName != kReadingMethod;
    if (auto error = CheckRight(changes, right)) {
        return tl::unexpected(std::move(*error));
    }
    const auto parameters =
        ReadInParameters(served.InstanceReader(), *method, request.m_parameters);
    if (!parameters) {
        return Fail(CimCode::InvalidParameter, parameters.error());
    }
    const bool isEmpty = parameters->GetProperties().empty();
    return CPendingCall{method->m_sName,
                        isEmpty ? "" : messages::EncodeObject(*parameters),
                        request.m_messageId,
                        request.m_method,
                        {},
                        changes};
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
    if (answer.m_outParameters.empty()) {
        return xml.Take();
    }
    const auto output = messages::DecodeObject(answer.m_outParameters);
    if (output == nullptr || !WriteOutParameters(served, *method, *output, &xml)) {
        return Fail(CimCode::Failed, "What the provider answered does not fit the class. The "
                                     "method has ended; its return value was " +
                                         std::to_string(answer.m_uiReturnValue) + ".");
    }
    return xml.Take();
}

std::string FindUnservable(const CCimClass& definition) {
    for (const CCimMethod& method : definition.m_methods) {
        for (const CCimParameter& parameter : method.m_parameters) {
            if (parameter.m_type != WbemType::Object) {
                return "the parameter " + parameter.m_sName + " of the method " + method.m_sName +
                       " is not one embedded instance, and no other can be passed on";
            }
        }
        if (method.m_returnType != WbemType::UInt32) {
            return "the method " + method.m_sName + " does not return a uint32";
        }
    }
    return {};
}

} // namespace wbemd

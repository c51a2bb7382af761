// Requests of management clients, from the headers that tell about the body on. The input is a line
// for each header, an empty line and the body.

#include "host/CCimXmlReader.h"
#include "serverbase/Frames.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/FuzzTarget.h"
#include "tests/support/CAnswerCheck.h"
#include "tests/support/CRequestText.h"
#include "wbemd/operations/COperations.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

using std::string;
using wbemd::CHttpAnswer;
using wbemd::COperations;
using wbemd::CPendingCall;

namespace {

using Classes = std::vector<CCimClass>;

std::unique_ptr<COperations> OpenOperations() {
    string error;
    auto operations = COperations::Open(KZM_FUZZ_SCHEMA, KZM_FUZZ_INTEROP, "host", &error);
    CProperty::Require(operations != nullptr, "the class definitions are good");
    return operations;
}

Classes ReadClasses() {
    string error;
    auto classes = CCimXmlReader::ReadFile(KZM_FUZZ_SCHEMA, &error);
    CProperty::Require(classes.has_value(), "the class definitions can be read");
    return *classes;
}

void CheckAnswer(const CHttpAnswer& answer) {
    for (const string& problem :
         CAnswerCheck::Problems(answer.m_status, answer.m_headers, answer.m_body)) {
        CProperty::RequireEqual("", problem, "every answer is one that clients can read");
    }
    CProperty::Require(answer.m_keepOpen, "the connection can go on");
}

// Each property of the class, in its order, has a value of its type; whatever is embedded, too.
void RequireComplete(const Classes& classes, const IWbemClassObject& object, const string& name) {
    const auto definition =
        std::find_if(classes.begin(), classes.end(),
                     [&](const CCimClass& known) { return known.m_sName == name; });
    CProperty::RequireEqual(name, object.GetClassName(), "the object is of the class");
    const auto& properties = object.GetProperties();
    CProperty::Require(properties.size() == definition->m_properties.size(),
                       "the object has the properties of its class");
    for (std::size_t i = 0; i < properties.size(); ++i) {
        const CCimProperty& wanted = definition->m_properties[i];
        CProperty::RequireEqual(wanted.m_sName, properties[i].m_sName, "in the order of the class");
        CProperty::Require(properties[i].m_value.index() == static_cast<std::size_t>(wanted.m_type),
                           "each value is of the type that the class says");
        if (const auto* one = std::get_if<CWbemObjectPtr>(&properties[i].m_value)) {
            RequireComplete(classes, **one, wanted.m_sEmbeddedClass);
        }
        if (const auto* many = std::get_if<CWbemObjectArray>(&properties[i].m_value)) {
            for (const CWbemObjectPtr& entry : *many) {
                RequireComplete(classes, *entry, wanted.m_sEmbeddedClass);
            }
        }
    }
}

// A call is one of two, and its parameters are what it needs.
void CheckCall(const COperations& operations, const CPendingCall& call) {
    static const Classes classes = ReadClasses();
    messages::CCallAnswer answer;
    answer.m_result = messages::CallResult::Done;
    if (call.m_method == "GetParameter") {
        CProperty::RequireEqual("", call.m_inParameters, "GetParameter takes nothing");
    } else {
        CProperty::RequireEqual("SetParameter", call.m_method, "it is a method of the class");
        const auto parameters = messages::DecodeObject(call.m_inParameters);
        CProperty::Require(parameters != nullptr && parameters->GetProperties().size() == 1,
                           "the parameters are an object that can be sent");
        const CWbemValue* record = parameters->Get("LoggerConf");
        CProperty::Require(record != nullptr && std::holds_alternative<CWbemObjectPtr>(*record),
                           "which holds the one that the method takes");
        RequireComplete(classes, *std::get<CWbemObjectPtr>(*record), "VELTARO_LoggerConf");
        answer.m_outParameters = call.m_inParameters;
    }
    CheckAnswer(operations.Finish(call, answer));
    // What one client sets, another is given when it asks.
    CheckAnswer(
        operations.Finish({"GetParameter", "", call.m_messageId, "GetParameter", {}}, answer));
}

void Check(const COperations& operations, const CRequestText& request, messages::Right right) {
    const auto outcome = operations.Answer(request.m_head, request.m_body, right);
    if (const auto* call = std::get_if<CPendingCall>(&outcome)) {
        const bool mayChange = right == messages::Right::Change;
        CProperty::Require(mayChange ||
                               (right == messages::Right::Read && call->m_method == "GetParameter"),
                           "no call comes out without the right to it");
        CheckCall(operations, *call);
    } else {
        CheckAnswer(std::get<CHttpAnswer>(outcome));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::unique_ptr<COperations> operations = OpenOperations();
    const CRequestText request = CRequestText::Of(string(data, data + size));
    for (const auto right :
         {messages::Right::None, messages::Right::Read, messages::Right::Change}) {
        Check(*operations, request, right);
    }
    return 0;
}

#include "tests/unit/wbemd/operations/Asking.h"

#include "tests/support/CAnswerCheck.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

using std::string;
using wbemd::CHttpAnswer;
using wbemd::COperations;
using wbemd::CPendingCall;

namespace asking {

namespace {

std::unique_ptr<COperations> OpenProduct() {
    string error;
    auto operations = COperations::Open(SCHEMA_FOLDER "/VELTARO_ToolServiceLogger.xml",
                                        SCHEMA_FOLDER "/interop.xml", "testhost", &error);
    if (operations == nullptr) {
        std::cerr << error << std::endl;
        std::abort();
    }
    return operations;
}

string Text(const CHttpAnswer& answer) {
    string text = std::to_string(answer.m_status) + (answer.m_keepOpen ? " open" : " closed");
    for (const auto& [name, value] : answer.m_headers) {
        text += "\n" + name + ": " + value;
    }
    return text + "\n\n" + answer.m_body;
}

string Checked(const CHttpAnswer& answer) {
    const auto problems = CAnswerCheck::Problems(answer.m_status, answer.m_headers, answer.m_body);
    EXPECT_EQ(std::vector<string>(), problems) << Text(answer);
    return Text(answer);
}

string Message(const string& response) {
    CHttpAnswer answer;
    answer.m_headers = {{"Content-Type", "application/xml; charset=\"utf-8\""},
                        {"CIMOperation", "MethodResponse"}};
    answer.m_body = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                    "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1001\" "
                    "PROTOCOLVERSION=\"1.0\"><SIMPLERSP>" +
                    response + "</SIMPLERSP></MESSAGE></CIM>\n";
    return Text(answer);
}

string Response(const string& element, const string& name, const string& content) {
    return Message("<" + element + " NAME=\"" + name + "\">" + content + "</" + element + ">");
}

string Error(unsigned code, const string& description) {
    return "<ERROR CODE=\"" + std::to_string(code) + "\" DESCRIPTION=\"" + description +
           "\"></ERROR>";
}

} // namespace

const COperations& Operations() {
    static const std::unique_ptr<COperations> operations = OpenProduct();
    return *operations;
}

string Ask(const CRequestText& request, messages::Right right) {
    const auto outcome = Operations().Answer(request.m_head, request.m_body, right);
    if (const auto* call = std::get_if<CPendingCall>(&outcome)) {
        ADD_FAILURE() << "it asks for a call of " << call->m_method;
        return {};
    }
    return Checked(std::get<CHttpAnswer>(outcome));
}

CPendingCall AskCall(const CRequestText& request, messages::Right right) {
    auto outcome = Operations().Answer(request.m_head, request.m_body, right);
    if (const auto* answer = std::get_if<CHttpAnswer>(&outcome)) {
        ADD_FAILURE() << "it is answered: " << Text(*answer);
        return {};
    }
    return std::get<CPendingCall>(std::move(outcome));
}

string Finish(const CPendingCall& call, const messages::CCallAnswer& answer) {
    return Checked(Operations().Finish(call, answer));
}

string Refused(unsigned status, const string& cimError, const string& sentence) {
    CHttpAnswer answer;
    answer.m_status = status;
    answer.m_headers.emplace_back("Content-Type", "text/plain; charset=\"utf-8\"");
    if (!cimError.empty()) {
        answer.m_headers.emplace_back("CIMError", cimError);
    }
    answer.m_body = sentence + "\n";
    return Text(answer);
}

string Returned(const string& operation, const string& content) {
    return Response("IMETHODRESPONSE", operation, "<IRETURNVALUE>" + content + "</IRETURNVALUE>");
}

string Failed(const string& operation, unsigned code, const string& description) {
    return Response("IMETHODRESPONSE", operation, Error(code, description));
}

string MethodReturned(const string& method, const string& content) {
    return Response("METHODRESPONSE", method, content);
}

string MethodFailed(const string& method, unsigned code, const string& description) {
    return Response("METHODRESPONSE", method, Error(code, description));
}

std::ostream& operator<<(std::ostream& out, const CRow& row) {
    return out << row.request.Text().substr(0, 2000);
}

} // namespace asking

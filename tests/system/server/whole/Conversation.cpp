#include "tests/system/server/whole/Conversation.h"

#include "tests/system/server/whole/RecordText.h"
#include "tests/unit/wbemd/operations/Requests.h"

#include <regex>

using std::string;

namespace conversation {

namespace {

// The header of this name, with a colon and a blank behind it; or nothing.
string CimErrorOf(const string& answer) {
    const std::regex pattern("\r\nCIMError: ([^\r]*)\r\n");
    std::smatch found;
    return std::regex_search(answer, found, pattern) ? " " + string(found[1]) : "";
}

string BodyOf(const string& answer) {
    const string kEnd = "\r\n\r\n";
    return answer.substr(answer.find(kEnd) + kEnd.size());
}

} // namespace

CRequestText GetParameter() {
    return requests::Method("GetParameter");
}

CRequestText SetParameter(const CLoggerConf& conf) {
    constexpr RecordStyle kStyle = RecordStyle::WithAttributes;
    return requests::Method(
        "SetParameter",
        requests::InParameter("<VALUE>" + XmlText(RecordText(conf, kStyle), kStyle) + "</VALUE>",
                              " EmbeddedObject=\"instance\" PARAMTYPE=\"string\""));
}

string Bytes(const CRequestText& request, const string& user, const string& password) {
    string headers = request.Text();
    headers.resize(headers.size() - request.m_body.size() - 1); // and the empty line
    headers = std::regex_replace(headers, std::regex("\n"), "\r\n");
    return "POST /cimom HTTP/1.1\r\nHost: localhost\r\nAccept-Encoding: identity\r\n"
           "User-agent: python\r\n" +
           Authorization(user, password) + headers +
           "Content-Length: " + std::to_string(request.m_body.size()) + "\r\n\r\n" + request.m_body;
}

string OutcomeOf(const string& answer) {
    static const std::regex returned("<RETURNVALUE PARAMTYPE=\"uint32\"><VALUE>([0-9]*)</VALUE>");
    static const std::regex error("<ERROR CODE=\"([0-9]*)\" DESCRIPTION=\"([^\"]*)\">");
    static const std::regex content("<IRETURNVALUE>(.*)</IRETURNVALUE>");
    std::smatch found;
    if (answer.empty() || answer.rfind("HTTP/1.1 200 ", 0) != 0) {
        const string status = answer.substr(0, 12);
        return answer.empty() ? "" : status.substr(9) + CimErrorOf(answer) + ": " + BodyOf(answer);
    }
    if (std::regex_search(answer, found, error)) {
        return "error " + string(found[1]) + ": " + string(found[2]);
    }
    if (std::regex_search(answer, found, returned)) {
        return "returned " + string(found[1]);
    }
    return std::regex_search(answer, found, content) ? string(found[1]) : answer;
}

string Ask(CClient* client, const CRequestText& request, const string& user,
           const string& password) {
    client->Send(Bytes(request, user, password));
    return OutcomeOf(client->Answer());
}

} // namespace conversation

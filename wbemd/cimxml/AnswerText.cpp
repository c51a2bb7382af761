#include "wbemd/cimxml/AnswerText.h"

#include "wbemd/cimxml/CXmlWriter.h"

namespace wbemd {

namespace {

constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
constexpr std::size_t kSentenceBytes = 500;
constexpr std::size_t kEnvelopeBytes = 500; // about what stands around a response

// The envelope around what the method answers.
std::string WriteMessage(const CAnsweredRequest& request, std::string_view response) {
    const char* element = request.m_isIntrinsic ? "IMETHODRESPONSE" : "METHODRESPONSE";
    CXmlWriter xml;
    xml.Expect(response.size() + kEnvelopeBytes);
    xml.Raw(kDeclaration);
    xml.Open("CIM", {{"CIMVERSION", "2.0"}, {"DTDVERSION", "2.0"}});
    xml.Open("MESSAGE", {{"ID", request.m_messageId}, {"PROTOCOLVERSION", "1.0"}});
    xml.Open("SIMPLERSP");
    xml.Open(element, {{"NAME", request.m_method}});
    xml.Raw(response);
    xml.Close(element);
    xml.Close("SIMPLERSP");
    xml.Close("MESSAGE");
    xml.Close("CIM");
    xml.Raw("\n");
    return xml.Take();
}

} // namespace

std::string WriteAnswer(const CAnsweredRequest& request, std::string_view content) {
    if (!request.m_isIntrinsic) {
        return WriteMessage(request, content);
    }
    CXmlWriter xml;
    xml.Open("IRETURNVALUE");
    xml.Raw(content);
    xml.Close("IRETURNVALUE");
    return WriteMessage(request, xml.Take());
}

std::string WriteError(const CAnsweredRequest& request, const CCimError& error) {
    const std::string code = std::to_string(static_cast<unsigned>(error.m_code));
    CXmlWriter xml;
    xml.Element("ERROR", "", {{"CODE", code}, {"DESCRIPTION", Sentence(error.m_text)}});
    return WriteMessage(request, xml.Take());
}

std::string Sentence(std::string_view text) {
    constexpr std::string_view kMore = "...";
    std::string sentence(text.substr(0, kSentenceBytes));
    for (char& character : sentence) {
        if (character < ' ' || character > '~') {
            character = '?';
        }
    }
    if (text.size() > kSentenceBytes) {
        sentence.replace(kSentenceBytes - kMore.size(), kMore.size(), kMore);
    }
    return sentence;
}

} // namespace wbemd

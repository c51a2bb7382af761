#include "tests/unit/wbemd/operations/Requests.h"

#include <gtest/gtest.h>

using std::string;

namespace requests {

namespace {

CRequestText Announced(const string& method, const string& object, const string& body) {
    CRequestText request;
    request.m_head.m_contentType = "application/xml; charset=\"utf-8\"";
    request.m_head.m_cimOperation = "MethodCall";
    request.m_head.m_cimMethod = method;
    request.m_head.m_cimObject = object;
    request.m_body = body;
    return request;
}

string Body(const string& call) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n"
           "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1001\" "
           "PROTOCOLVERSION=\"1.0\"><SIMPLEREQ>" +
           call + "</SIMPLEREQ></MESSAGE></CIM>";
}

} // namespace

CRequestText Intrinsic(const string& operation, const string& parameters, const string& space) {
    return Announced(operation, space,
                     Body("<IMETHODCALL NAME=\"" + operation + "\">" + NamespacePath(space) +
                          parameters + "</IMETHODCALL>"));
}

CRequestText Method(const string& method, const string& parameters, const string& className,
                    const string& space) {
    return Announced(method, space + ":" + className,
                     Body("<METHODCALL NAME=\"" + method + "\"><LOCALCLASSPATH>" +
                          NamespacePath(space) + "<CLASSNAME NAME=\"" + className +
                          "\"/></LOCALCLASSPATH>" + parameters + "</METHODCALL>"));
}

CRequestText Simple(const string& call) {
    return Whole(Body(call));
}

CRequestText Whole(const string& body) {
    return Announced("GetClass", "root/cimv2", body);
}

string NamespacePath(const string& space) {
    string path = "<LOCALNAMESPACEPATH>";
    for (std::size_t at = 0; at <= space.size();) {
        const std::size_t end = std::min(space.find('/', at), space.size());
        path += "<NAMESPACE NAME=\"" + space.substr(at, end - at) + "\"/>";
        at = end + 1;
    }
    return path + "</LOCALNAMESPACEPATH>";
}

string ClassPath(const string& className) {
    return "<LOCALCLASSPATH>" + NamespacePath() + "<CLASSNAME NAME=\"" + className +
           "\"/></LOCALCLASSPATH>";
}

string Parameter(const string& name, const string& content) {
    return "<IPARAMVALUE NAME=\"" + name + "\">" + content + "</IPARAMVALUE>";
}

string Flag(const string& name, const string& value) {
    return Parameter(name, "<VALUE>" + value + "</VALUE>");
}

string ClassName(const string& name) {
    return Parameter("ClassName", "<CLASSNAME NAME=\"" + name + "\"/>");
}

string PropertyList(const std::initializer_list<string>& names) {
    string list;
    for (const string& name : names) {
        list += "<VALUE>" + name + "</VALUE>";
    }
    return Parameter("PropertyList", "<VALUE.ARRAY>" + list + "</VALUE.ARRAY>");
}

string InParameter(const string& content, const string& attributes) {
    return "<PARAMVALUE NAME=\"LoggerConf\"" + attributes + ">" + content + "</PARAMVALUE>";
}

CRequestText GetClass() {
    return Intrinsic("GetClass", ClassName(kClass));
}

CRequestText GetClassWith(const string& from, const string& to) {
    CRequestText request = GetClass();
    const std::size_t at = request.m_body.find(from);
    EXPECT_NE(string::npos, at) << from;
    request.m_body.replace(at, from.size(), to);
    return request;
}

string Escape(const string& text) {
    string escaped;
    for (const char c : text) {
        escaped += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : string(1, c);
    }
    return escaped;
}

} // namespace requests

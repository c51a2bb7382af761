#include "wbemd/cimxml/CEnvelopeReader.h"

#include "wbemd/cimxml/InstanceName.h"

namespace wbemd {

bool CEnvelopeReader::Read(const CXmlElement& root) {
    std::string version;
    if (root.m_sName != "CIM") {
        return Fail(root, "is not the CIM element that a request begins with");
    }
    return CheckAttributes(root, {"CIMVERSION", "DTDVERSION"}) &&
           TakeAttribute(root, "CIMVERSION", &version) &&
           TakeAttribute(root, "DTDVERSION", &version) && CheckContent(root, {"MESSAGE"}) &&
           ReadMessage(root.m_children.front());
}

bool CEnvelopeReader::ReadMessage(const CXmlElement& message) {
    std::string version;
    if (!CheckAttributes(message, {"ID", "PROTOCOLVERSION"}) ||
        !TakeAttribute(message, "ID", &m_request.m_messageId) ||
        !TakeAttribute(message, "PROTOCOLVERSION", &version) ||
        !CheckContent(message, {"SIMPLEREQ"})) {
        return false;
    }
    const CXmlElement& request = message.m_children.front();
    if (!CheckAttributes(request, {}) || !CheckNoText(request)) {
        return false;
    }
    if (request.m_children.size() != 1) {
        return Fail(request, "must hold one METHODCALL or IMETHODCALL");
    }
    return ReadCall(request.m_children.front());
}

bool CEnvelopeReader::ReadCall(const CXmlElement& call) {
    m_request.m_isIntrinsic = call.m_sName == "IMETHODCALL";
    if (!m_request.m_isIntrinsic && call.m_sName != "METHODCALL") {
        return Fail(call, "is not understood inside SIMPLEREQ");
    }
    if (!CheckAttributes(call, {"NAME"}) || !TakeAttribute(call, "NAME", &m_request.m_method) ||
        !CheckNoText(call)) {
        return false;
    }
    if (call.m_children.empty()) {
        return Fail(call, "does not say what it is called on");
    }
    if (!ReadTarget(call.m_children.front())) {
        return false;
    }
    for (std::size_t i = 1; i < call.m_children.size(); ++i) {
        if (!ReadParameter(call.m_children[i])) {
            return false;
        }
    }
    return true;
}

bool CEnvelopeReader::ReadTarget(const CXmlElement& target) {
    if (m_request.m_isIntrinsic && target.m_sName == "LOCALNAMESPACEPATH") {
        return ReadNamespace(target);
    }
    if (!m_request.m_isIntrinsic && target.m_sName == "LOCALCLASSPATH") {
        return ReadPathOfClass(target);
    }
    if (!m_request.m_isIntrinsic && target.m_sName == "LOCALINSTANCEPATH") {
        return ReadPathOfInstance(target);
    }
    return Fail(target, "is not what a method can be called on");
}

bool CEnvelopeReader::ReadPathOfClass(const CXmlElement& path) {
    if (!CheckAttributes(path, {}) || !CheckContent(path, {"LOCALNAMESPACEPATH", "CLASSNAME"}) ||
        !ReadNamespace(path.m_children.front())) {
        return false;
    }
    const CXmlElement& name = path.m_children.back();
    return CheckAttributes(name, {"NAME"}) && TakeAttribute(name, "NAME", &m_request.m_class) &&
           CheckContent(name, {});
}

bool CEnvelopeReader::ReadPathOfInstance(const CXmlElement& path) {
    if (!CheckAttributes(path, {}) || !CheckContent(path, {"LOCALNAMESPACEPATH", "INSTANCENAME"}) ||
        !ReadNamespace(path.m_children.front())) {
        return false;
    }
    auto name = ReadInstanceName(path.m_children.back());
    if (!name) {
        return Fail(name.error());
    }
    m_request.m_isOfInstance = true;
    m_request.m_class = std::move(name->m_class);
    return true;
}

bool CEnvelopeReader::ReadNamespace(const CXmlElement& path) {
    if (!CheckAttributes(path, {}) || !CheckNoText(path)) {
        return false;
    }
    if (path.m_children.empty()) {
        return Fail(path, "names no namespace");
    }
    std::string joined;
    for (const CXmlElement& step : path.m_children) {
        std::string name;
        if (step.m_sName != "NAMESPACE") {
            return Fail(step, "is not understood inside LOCALNAMESPACEPATH");
        }
        if (!CheckAttributes(step, {"NAME"}) || !TakeAttribute(step, "NAME", &name) ||
            !CheckContent(step, {})) {
            return false;
        }
        joined += "/" + name;
    }
    m_request.m_namespace = StripSlashes(joined);
    return true;
}

bool CEnvelopeReader::ReadParameter(const CXmlElement& parameter) {
    const bool isKnown =
        parameter.m_sName == (m_request.m_isIntrinsic ? "IPARAMVALUE" : "PARAMVALUE");
    if (!isKnown) {
        return Fail(parameter, "is not understood behind what the method is called on");
    }
    const bool hasGoodAttributes =
        m_request.m_isIntrinsic
            ? CheckAttributes(parameter, {"NAME"})
            : CheckAttributes(parameter, {"NAME", "PARAMTYPE", "EmbeddedObject", "EMBEDDEDOBJECT"});
    std::string name;
    if (!hasGoodAttributes || !TakeAttribute(parameter, "NAME", &name)) {
        return false;
    }
    m_request.m_parameters.push_back(&parameter);
    return true;
}

bool CEnvelopeReader::TakeAttribute(const CXmlElement& element, std::string_view name,
                                    std::string* value) {
    const std::string* found = element.FindAttribute(name);
    if (found == nullptr) {
        return Fail(element, "has no attribute " + std::string(name));
    }
    *value = *found;
    return true;
}

bool CEnvelopeReader::CheckContent(const CXmlElement& element, Names names) {
    if (!CheckNoText(element)) {
        return false;
    }
    const bool isGood = std::equal(
        element.m_children.begin(), element.m_children.end(), names.begin(), names.end(),
        [](const CXmlElement& child, std::string_view name) { return child.m_sName == name; });
    if (isGood) {
        return true;
    }
    std::string wanted;
    for (const std::string_view name : names) {
        wanted += wanted.empty() ? "" : " and ";
        wanted += name;
    }
    return Fail(element, "must hold " + (wanted.empty() ? "nothing" : wanted + ", once each"));
}

bool CEnvelopeReader::CheckNoText(const CXmlElement& element) {
    return element.m_sText.find_first_not_of(" \t\r\n") == std::string::npos ||
           Fail(element, "holds text where only elements are expected");
}

} // namespace wbemd

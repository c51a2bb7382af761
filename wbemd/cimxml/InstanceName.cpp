#include "wbemd/cimxml/InstanceName.h"

#include "host/CCimElementReader.h"

namespace wbemd {

namespace {

class CInstanceNameReader : public CCimElementReader {
public:
    bool Read(const CXmlElement& element);

    CSentInstanceName m_name;

private:
    bool ReadBinding(const CXmlElement& element);
    bool ReadKeyValue(const CXmlElement& element, CSentKey key);
    bool ReadReference(CSentKey key);
};

bool CInstanceNameReader::Read(const CXmlElement& element) {
    const std::string* className = element.FindAttribute("CLASSNAME");
    if (className == nullptr) {
        return Fail(element, "has no attribute CLASSNAME");
    }
    m_name.m_class = *className;
    const Step readBinding = [this](const CXmlElement& child) { return ReadBinding(child); };
    const Step readValue = [this](const CXmlElement& child) { return ReadKeyValue(child, {}); };
    const Step readReference = [this](const CXmlElement&) { return ReadReference({}); };
    if (!CheckAttributes(element, {"CLASSNAME"}) ||
        !ReadChildren(element, {{"KEYBINDING", readBinding},
                                {"KEYVALUE", readValue},
                                {"VALUE.REFERENCE", readReference}})) {
        return false;
    }
    const bool hasUnnamed = std::any_of(m_name.m_keys.begin(), m_name.m_keys.end(),
                                        [](const CSentKey& key) { return key.m_name.empty(); });
    return !hasUnnamed || m_name.m_keys.size() == 1 ||
           Fail(element, "holds more than one key, of which one has no name");
}

bool CInstanceNameReader::ReadBinding(const CXmlElement& element) {
    CSentKey key;
    const Step readValue = [&](const CXmlElement& child) { return ReadKeyValue(child, key); };
    const Step readReference = [&](const CXmlElement&) { return ReadReference(key); };
    if (!ReadName(element, &key.m_name) || !CheckAttributes(element, {"NAME"})) {
        return false;
    }
    if (element.m_children.size() != 1) {
        return Fail(element, "must hold one value");
    }
    return ReadChildren(element, {{"KEYVALUE", readValue}, {"VALUE.REFERENCE", readReference}});
}

bool CInstanceNameReader::ReadKeyValue(const CXmlElement& element, CSentKey key) {
    if (!CheckAttributes(element, {"VALUETYPE", "TYPE"})) {
        return false;
    }
    if (!element.m_children.empty()) {
        return Fail(element.m_children.front(), "is not understood inside KEYVALUE");
    }
    const std::string* type = element.FindAttribute("VALUETYPE");
    key.m_isText = type == nullptr || *type == "string";
    key.m_value = element.m_sText;
    m_name.m_keys.push_back(std::move(key));
    return true;
}

// No key of ours is a reference, so what it refers to does not matter.
bool CInstanceNameReader::ReadReference(CSentKey key) {
    key.m_isText = false;
    m_name.m_keys.push_back(std::move(key));
    return true;
}

} // namespace

tl::expected<CSentInstanceName, std::string> ReadInstanceName(const CXmlElement& element) {
    CInstanceNameReader reader;
    if (!reader.Read(element)) {
        return tl::unexpected(reader.GetError());
    }
    return std::move(reader.m_name);
}

} // namespace wbemd

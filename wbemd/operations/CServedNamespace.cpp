#include "wbemd/operations/CServedNamespace.h"

#include "host/CimText.h"

#include <algorithm>

namespace wbemd {

namespace {

bool HasKey(const CSentInstanceName& name, const std::string& key, const std::string& value) {
    return std::any_of(name.m_keys.begin(), name.m_keys.end(), [&](const CSentKey& sent) {
        return sent.m_isText && cim::AreSameNames(sent.m_name, key) && sent.m_value == value;
    });
}

// Every key is there, and as many were sent: so each of them once.
bool IsNamed(const CServedInstance& instance, const CSentInstanceName& name) {
    const std::vector<CCimProperty>& properties = instance.m_class->m_definition.m_properties;
    std::size_t keys = 0;
    for (std::size_t i = 0; i < properties.size(); ++i) {
        if (!IsKey(properties[i])) {
            continue;
        }
        if (!HasKey(name, properties[i].m_sName, instance.m_values[i])) {
            return false;
        }
        ++keys;
    }
    return name.m_keys.size() == keys;
}

} // namespace

CServedNamespace::CServedNamespace(std::string name, std::vector<CCimClass> definitions)
    : m_name(std::move(name)),
      m_definitions(std::move(definitions)),
      m_reader(m_definitions) {
    for (const CCimClass& definition : m_definitions) {
        m_classes.push_back({definition, CClassText(definition)});
    }
}

const CServedClass* CServedNamespace::FindClass(std::string_view name) const {
    const auto found =
        std::find_if(m_classes.begin(), m_classes.end(), [name](const CServedClass& served) {
            return cim::AreSameNames(served.m_definition.m_sName, name);
        });
    return found == m_classes.end() ? nullptr : &*found;
}

const CServedInstance* CServedNamespace::FindInstance(const CSentInstanceName& name) const {
    const CServedClass* served = FindClass(name.m_class);
    const auto found =
        std::find_if(m_instances.begin(), m_instances.end(), [&](const CServedInstance& instance) {
            return instance.m_class == served && IsNamed(instance, name);
        });
    return found == m_instances.end() ? nullptr : &*found;
}

bool IsKey(const CCimProperty& property) {
    return std::any_of(property.m_qualifiers.begin(), property.m_qualifiers.end(),
                       [](const CCimQualifier& qualifier) {
                           return cim::AreSameNames(qualifier.m_sName, "Key") &&
                                  qualifier.m_values == std::vector<std::string>{"true"};
                       });
}

} // namespace wbemd

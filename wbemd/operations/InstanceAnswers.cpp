#include "wbemd/operations/InstanceAnswers.h"

#include "host/CimText.h"

#include <algorithm>

namespace wbemd {

namespace {

bool IsWanted(const CCimProperty& property, const CInstanceFilter& filter) {
    return !filter.m_properties ||
           std::any_of(
               filter.m_properties->begin(), filter.m_properties->end(),
               [&](const std::string& name) { return cim::AreSameNames(name, property.m_sName); });
}

void WriteProperty(const CCimProperty& property, const std::string& value,
                   const std::string* origin, CXmlWriter* xml) {
    const char* type = CimTypeName(property.m_type);
    if (origin != nullptr) {
        xml->Open("PROPERTY",
                  {{"NAME", property.m_sName}, {"TYPE", type}, {"CLASSORIGIN", *origin}});
    } else {
        xml->Open("PROPERTY", {{"NAME", property.m_sName}, {"TYPE", type}});
    }
    xml->Element("VALUE", value);
    xml->Close("PROPERTY");
}

} // namespace

void WriteInstanceName(const CServedInstance& instance, CXmlWriter* xml) {
    const CCimClass& definition = instance.m_class->m_definition;
    xml->Open("INSTANCENAME", {{"CLASSNAME", definition.m_sName}});
    for (std::size_t i = 0; i < definition.m_properties.size(); ++i) {
        if (IsKey(definition.m_properties[i])) {
            xml->Open("KEYBINDING", {{"NAME", definition.m_properties[i].m_sName}});
            xml->Element("KEYVALUE", instance.m_values[i], {{"VALUETYPE", "string"}});
            xml->Close("KEYBINDING");
        }
    }
    xml->Close("INSTANCENAME");
}

void WriteInstance(const CServedInstance& instance, const CInstanceFilter& filter,
                   CXmlWriter* xml) {
    const CCimClass& definition = instance.m_class->m_definition;
    xml->Open("INSTANCE", {{"CLASSNAME", definition.m_sName}});
    for (std::size_t i = 0; i < definition.m_properties.size(); ++i) {
        if (IsWanted(definition.m_properties[i], filter)) {
            WriteProperty(definition.m_properties[i], instance.m_values[i],
                          filter.m_origin ? &definition.m_sName : nullptr, xml);
        }
    }
    xml->Close("INSTANCE");
}

void WriteNamedInstance(const CServedInstance& instance, const CInstanceFilter& filter,
                        CXmlWriter* xml) {
    xml->Open("VALUE.NAMEDINSTANCE");
    WriteInstanceName(instance, xml);
    WriteInstance(instance, filter, xml);
    xml->Close("VALUE.NAMEDINSTANCE");
}

} // namespace wbemd

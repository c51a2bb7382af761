#include "tests/unit/host/SampleClasses.h"

namespace {

CCimProperty Property(const char* name, WbemType type, const char* embeddedClass = "") {
    CCimProperty property;
    property.m_sName = name;
    property.m_type = type;
    property.m_sEmbeddedClass = embeddedClass;
    return property;
}

CCimClass Class(const char* name, std::vector<CCimProperty> properties) {
    CCimClass definition;
    definition.m_sName = name;
    definition.m_properties = std::move(properties);
    return definition;
}

} // namespace

std::vector<CCimClass> SampleClasses() {
    return {
        Class("Inner", {Property("Name", WbemType::String), Property("Level", WbemType::SInt32)}),
        Class("Outer", {Property("Flag", WbemType::Boolean), Property("Count", WbemType::UInt32),
                        Property("Level", WbemType::SInt32), Property("Name", WbemType::String),
                        Property("One", WbemType::Object, "Inner"),
                        Property("Many", WbemType::ObjectArray, "Inner")}),
        Class("Node", {Property("Children", WbemType::ObjectArray, "Node")}),
    };
}

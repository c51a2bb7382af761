#include "tests/unit/host/ObjectDump.h"

using std::string;

namespace {

string Text(std::monostate /*null*/) {
    return "null";
}
string Text(bool value) {
    return value ? "bool 1" : "bool 0";
}
string Text(std::uint32_t value) {
    return "uint32 " + std::to_string(value);
}
string Text(std::int32_t value) {
    return "sint32 " + std::to_string(value);
}
string Text(const string& value) {
    return "\"" + value + "\"";
}
string Text(const CWbemObjectPtr& value) {
    return Dump(*value);
}
string Text(const CWbemObjectArray& values) {
    string text = "[";
    for (const CWbemObjectPtr& value : values) {
        text += (text.size() == 1 ? "" : ",") + Dump(*value);
    }
    return text + "]";
}

} // namespace

string Dump(const IWbemClassObject& object) {
    string text = object.GetClassName() + "{";
    const char* separator = "";
    for (const IWbemClassObject::Property& property : object.GetProperties()) {
        text += separator + property.m_sName + "=" +
                std::visit([](const auto& value) { return Text(value); }, property.m_value);
        separator = ",";
    }
    return text + "}";
}

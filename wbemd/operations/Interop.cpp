#include "wbemd/operations/Interop.h"

#include "host/CimText.h"

#include <map>
#include <optional>

namespace wbemd {

namespace {

constexpr char kObjectManagerClass[] = "CIM_ObjectManager";
constexpr char kNamespaceClass[] = "CIM_Namespace";
constexpr char kObjectManagerName[] = "kzmwbemd";
constexpr char kClassInfoOther[] = "1"; // classes of our own

using Values = std::map<std::string, std::string>;

// What the keys say of the system, for both classes.
Values SystemValues(const std::string& systemName) {
    return {{"SystemCreationClassName", "CIM_ComputerSystem"}, {"SystemName", systemName}};
}

Values ObjectManagerValues(const std::string& systemName) {
    Values values = SystemValues(systemName);
    values["CreationClassName"] = kObjectManagerClass;
    values["Name"] = kObjectManagerName;
    values["ElementName"] = "KZM management server";
    values["Description"] = "Serves the settings of the log-monitoring agent of this system.";
    values["Version"] = KZM_VERSION;
    return values;
}

Values NamespaceValues(const std::string& systemName, const std::string& name) {
    Values values = SystemValues(systemName);
    values["ObjectManagerCreationClassName"] = kObjectManagerClass;
    values["ObjectManagerName"] = kObjectManagerName;
    values["CreationClassName"] = kNamespaceClass;
    values["Name"] = name;
    values["ClassInfo"] = kClassInfoOther;
    return values;
}

// Nothing when the class has a property without a value, for none may be null.
std::optional<CServedInstance> MakeInstance(const CServedClass& served, const Values& values) {
    CServedInstance instance{&served, {}};
    for (const CCimProperty& property : served.m_definition.m_properties) {
        const auto value = values.find(property.m_sName);
        if (value == values.end()) {
            return std::nullopt;
        }
        instance.m_values.push_back(cim::EncodeString(value->second));
    }
    return instance;
}

bool Add(const char* className, const Values& values, CServedNamespace* interop) {
    const CServedClass* served = interop->FindClass(className);
    auto instance = served == nullptr ? std::nullopt : MakeInstance(*served, values);
    if (!instance) {
        return false;
    }
    interop->AddInstance(std::move(*instance));
    return true;
}

} // namespace

std::string AddInteropInstances(const std::string& systemName,
                                const std::vector<std::string>& namespaces,
                                CServedNamespace* interop) {
    bool isGood = Add(kObjectManagerClass, ObjectManagerValues(systemName), interop);
    for (const std::string& name : namespaces) {
        isGood = isGood && Add(kNamespaceClass, NamespaceValues(systemName, name), interop);
    }
    return isGood ? "" : "the classes of the server are not defined as it needs them";
}

} // namespace wbemd

#pragma once

#include "host/CCimClass.h"
#include "host/CInstanceReader.h"
#include "wbemd/cimxml/CClassText.h"
#include "wbemd/cimxml/InstanceName.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace wbemd {

// A class with its definition as it is served.
struct CServedClass {
    const CCimClass& m_definition;
    CClassText m_text;
};

// An instance of a class, which never changes. The values are as CIM-XML writes them, in the order
// of the class's properties.
struct CServedInstance {
    const CServedClass* m_class = nullptr;
    std::vector<std::string> m_values;
};

// The classes of one namespace, and the instances that the server itself has there.
class CServedNamespace {
public:
    CServedNamespace(std::string name, std::vector<CCimClass> definitions);
    CServedNamespace(CServedNamespace&&) = default;
    CServedNamespace& operator=(CServedNamespace&&) = delete;
    ~CServedNamespace() = default;

    [[nodiscard]] const std::string& Name() const { return m_name; }
    [[nodiscard]] const std::vector<CCimClass>& Definitions() const { return m_definitions; }
    // Of the instances that requests embed.
    [[nodiscard]] const CInstanceReader& InstanceReader() const { return m_reader; }
    [[nodiscard]] const std::vector<CServedClass>& Classes() const { return m_classes; }
    [[nodiscard]] const std::vector<CServedInstance>& Instances() const { return m_instances; }

    // Letter case does not matter. Null: there is none of this name.
    [[nodiscard]] const CServedClass* FindClass(std::string_view name) const;
    // The instance with just these keys. Null: there is none.
    [[nodiscard]] const CServedInstance* FindInstance(const CSentInstanceName& name) const;

    void AddInstance(CServedInstance instance) { m_instances.push_back(std::move(instance)); }

private:
    std::string m_name;
    std::vector<CCimClass> m_definitions;
    CInstanceReader m_reader;
    std::vector<CServedClass> m_classes; // point to their definitions
    std::vector<CServedInstance> m_instances;
};

// Whether the property is one of those that tell the instances of its class apart.
bool IsKey(const CCimProperty& property);

} // namespace wbemd

#include "providerbase/IWbemClassObject.h"

#include <algorithm>
#include <utility>

namespace {

const char kParametersClass[] = "__PARAMETERS";
const char kReturnValue[] = "ReturnValue";

// Room for as many is made when the first one comes. The objects of which there are many are small.
constexpr std::size_t kUsualProperties = 3;

// The iterator of the item (property or method) of this name, or the end of the list.
template <typename List>
auto FindByName(List& list, const std::string& name) {
    return std::find_if(list.begin(), list.end(),
                        [&name](const auto& item) { return item.m_sName == name; });
}

struct ValueCopier {
    template <typename T>
    CWbemValue operator()(const T& plainValue) const {
        return plainValue;
    }
    CWbemValue operator()(const CWbemObjectPtr& object) const { return object->Clone(); }
    CWbemValue operator()(const CWbemObjectArray& array) const {
        CWbemObjectArray copies;
        copies.reserve(array.size());
        for (const CWbemObjectPtr& object : array) {
            copies.push_back(object->Clone());
        }
        return copies;
    }
};

using Properties = IWbemClassObject::Properties;

Properties CopyOf(const Properties& properties) {
    Properties copies;
    copies.reserve(properties.size());
    for (const IWbemClassObject::Property& property : properties) {
        IWbemClassObject::Property& copy = copies.emplace_back();
        copy.m_sName = property.m_sName;
        copy.m_type = property.m_type;
        copy.m_bDefined = property.m_bDefined;
        copy.m_value = std::visit(ValueCopier(), property.m_value);
        copy.m_sEmbeddedClass = property.m_sEmbeddedClass;
    }
    return copies;
} // The copies own the objects. NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks)

bool HoldsObjects(const Properties& properties) {
    return std::any_of(properties.begin(), properties.end(), [](const auto& property) {
        return std::holds_alternative<CWbemObjectPtr>(property.m_value) ||
               std::holds_alternative<CWbemObjectArray>(property.m_value);
    });
}

bool HoldsNullObject(const CWbemValue& value) {
    if (const auto* object = std::get_if<CWbemObjectPtr>(&value)) {
        return *object == nullptr;
    }
    const auto* array = std::get_if<CWbemObjectArray>(&value);
    return array != nullptr && std::count(array->begin(), array->end(), nullptr) != 0;
}

WbemType TypeOf(const CWbemValue& value) {
    return static_cast<WbemType>(value.index());
}

void DefineProperties(const Properties& definitions, IWbemClassObject& object) {
    for (const IWbemClassObject::Property& definition : definitions) {
        object.DefineProperty(definition.m_sName, definition.m_type, definition.m_sEmbeddedClass);
    }
}

void HandOut(CWbemObjectPtr object, IWbemClassObject** wanted) {
    if (wanted != nullptr) {
        *wanted = object.release();
    }
}

} // namespace

IWbemClassObject::IWbemClassObject() = default;

IWbemClassObject::IWbemClassObject(std::string className) : m_sClassName(std::move(className)) {}

IWbemClassObject::IWbemClassObject(const IWbemClassObject& other)
    : m_sClassName(other.m_sClassName) {
    if (HoldsObjects(other.GetProperties())) {
        m_pProperties = std::make_shared<Properties>(CopyOf(other.GetProperties()));
    } else {
        m_pProperties = other.m_pProperties;
        m_bShared = true;
        other.m_bShared = true; // no part of its value. NOLINT(cert-oop58-cpp)
    }
    for (const Method& method : other.m_methods) {
        m_methods.push_back({method.m_sName, method.m_returnType, CopyOf(method.m_inParameters),
                             CopyOf(method.m_outParameters)});
    }
}

IWbemClassObject::IWbemClassObject(IWbemClassObject&& other) noexcept
    : m_sClassName(std::move(other.m_sClassName)),
      m_pProperties(std::move(other.m_pProperties)),
      m_bShared(other.m_bShared.load()),
      m_methods(std::move(other.m_methods)) {}

IWbemClassObject& IWbemClassObject::operator=(const IWbemClassObject& other) {
    return *this = IWbemClassObject(other);
}

IWbemClassObject& IWbemClassObject::operator=(IWbemClassObject&& other) noexcept {
    // The other object may be one that this object holds: its parts are taken out of it before the
    // properties of this one go.
    IWbemClassObject taken(std::move(other));
    m_sClassName.swap(taken.m_sClassName);
    m_pProperties.swap(taken.m_pProperties);
    m_bShared = taken.m_bShared.exchange(m_bShared);
    m_methods.swap(taken.m_methods);
    return *this;
}

IWbemClassObject::~IWbemClassObject() = default;

const CWbemValue* IWbemClassObject::Get(const char* name) const {
    if (name == nullptr) {
        return nullptr;
    }
    const auto property = FindByName(GetProperties(), name);
    return property == GetProperties().end() ? nullptr : &property->m_value;
}

HRESULT IWbemClassObject::Put(const char* name, CWbemValue value) {
    if (name == nullptr || *name == '\0' || HoldsNullObject(value)) {
        return WbemResult::kInvalidParameter;
    }
    const WbemType type = TypeOf(value);
    const auto known = FindByName(GetProperties(), name);
    const bool isNew = known == GetProperties().end();
    if (!isNew && known->m_bDefined && type != WbemType::Null && type != known->m_type) {
        return WbemResult::kTypeMismatch;
    }
    const std::shared_ptr<const Properties> kept = m_pProperties; // the name may stand in them
    Properties& properties = OwnProperties();
    if (isNew) {
        properties.push_back({name, type, false, std::move(value), {}});
        return WbemResult::kSuccess;
    }
    const auto property = FindByName(properties, name);
    property->m_type = type == WbemType::Null ? property->m_type : type;
    property->m_value = std::move(value);
    return WbemResult::kSuccess;
}

HRESULT IWbemClassObject::GetMethod(const char* name, long /*flags*/,
                                    IWbemClassObject** inSignature,
                                    IWbemClassObject** outSignature) {
    if (name == nullptr) {
        return WbemResult::kInvalidParameter;
    }
    const auto method = FindByName(m_methods, name);
    if (method == m_methods.end()) {
        return WbemResult::kNotFound;
    }
    auto in = std::make_unique<IWbemClassObject>(kParametersClass);
    DefineProperties(method->m_inParameters, *in);
    auto out = std::make_unique<IWbemClassObject>(kParametersClass);
    out->DefineProperty(kReturnValue, method->m_returnType);
    DefineProperties(method->m_outParameters, *out);
    HandOut(std::move(in), inSignature);
    HandOut(std::move(out), outSignature);
    return WbemResult::kSuccess;
}

HRESULT IWbemClassObject::SpawnInstance(long /*flags*/, IWbemClassObject** instance) {
    if (instance == nullptr) {
        return WbemResult::kInvalidParameter;
    }
    auto spawned = std::make_unique<IWbemClassObject>(m_sClassName);
    for (const Property& property : GetProperties()) {
        spawned->OwnProperties().push_back({property.m_sName, property.m_type, property.m_bDefined,
                                            std::monostate(), property.m_sEmbeddedClass});
    }
    *instance = spawned.release();
    return WbemResult::kSuccess;
}

void IWbemClassObject::Release() {
    delete this;
}

std::unique_ptr<IWbemClassObject> IWbemClassObject::Clone() const {
    return std::make_unique<IWbemClassObject>(*this);
}

void IWbemClassObject::DefineProperty(const std::string& name, WbemType type,
                                      std::string embeddedClass) {
    Property definition{name, type, true, {}, std::move(embeddedClass)};
    Properties& properties = OwnProperties();
    const auto property = FindByName(properties, definition.m_sName); // the name may stand in them
    if (property == properties.end()) {
        properties.push_back(std::move(definition));
    } else {
        *property = std::move(definition);
    }
}

const Properties& IWbemClassObject::GetProperties() const {
    static const Properties kNone;
    return m_pProperties == nullptr ? kNone : *m_pProperties;
}

// The properties, to be changed.
Properties& IWbemClassObject::OwnProperties() {
    if (m_pProperties == nullptr) {
        m_pProperties = std::make_shared<Properties>();
        m_pProperties->reserve(kUsualProperties);
    } else if (m_bShared) {
        m_pProperties = std::make_shared<Properties>(CopyOf(*m_pProperties));
    }
    m_bShared = false;
    return *m_pProperties;
}

void IWbemClassObject::DefineMethod(Method method) {
    const auto known = FindByName(m_methods, method.m_sName);
    if (known == m_methods.end()) {
        m_methods.push_back(std::move(method));
    } else {
        *known = std::move(method);
    }
}

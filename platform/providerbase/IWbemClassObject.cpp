#include "providerbase/IWbemClassObject.h"

#include <algorithm>
#include <typeinfo>
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

using Properties = IWbemClassObject::Properties;

bool IsObject(const CWbemValue& value) {
    return std::holds_alternative<CWbemObjectPtr>(value) ||
           std::holds_alternative<CWbemObjectArray>(value);
}

bool HoldsObjects(const Properties& properties) {
    return std::any_of(properties.begin(), properties.end(),
                       [](const auto& property) { return IsObject(property.m_value); });
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

// Copies objects with all that they embed, however deeply, on a stack of ordinary depth: what an
// object embeds waits in a list until the object itself is copied.
class IWbemClassObject::CDeepCopy {
public:
    // The copy is empty before.
    static void Copy(const IWbemClassObject& original, IWbemClassObject* copy) {
        CDeepCopy copying;
        copying.CopyOne(original, copy);
        while (!copying.m_waiting.empty()) {
            const Pair next = copying.m_waiting.back();
            copying.m_waiting.pop_back();
            copying.CopyOne(*next.first, next.second);
        }
    }

    // Of properties that hold no objects; those are empty in the copies until Copy comes to them.
    Properties Of(const Properties& properties) {
        Properties copies;
        copies.reserve(properties.size());
        for (const Property& property : properties) {
            Property& copy = copies.emplace_back();
            copy.m_sName = property.m_sName;
            copy.m_type = property.m_type;
            copy.m_bDefined = property.m_bDefined;
            copy.m_value =
                std::visit([this](const auto& value) { return Of(value); }, property.m_value);
            copy.m_sEmbeddedClass = property.m_sEmbeddedClass;
        }
        return copies;
    } // The copies own the objects. NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks)

private:
    using Pair = std::pair<const IWbemClassObject*, IWbemClassObject*>;

    void CopyOne(const IWbemClassObject& original, IWbemClassObject* copy) {
        copy->m_sClassName = original.m_sClassName;
        if (HoldsObjects(original.GetProperties())) {
            copy->m_pProperties = std::make_shared<Properties>(Of(original.GetProperties()));
        } else {
            copy->m_pProperties = original.m_pProperties;
            copy->m_bShared = true;
            original.m_bShared = true;
        }
        for (const Method& method : original.m_methods) {
            copy->m_methods.push_back({method.m_sName, method.m_returnType,
                                       Of(method.m_inParameters), Of(method.m_outParameters)});
        }
    }

    template <typename T>
    CWbemValue Of(const T& plainValue) {
        return plainValue;
    }
    CWbemValue Of(const CWbemObjectPtr& object) { return Begun(*object); }
    CWbemValue Of(const CWbemObjectArray& array) {
        CWbemObjectArray copies;
        copies.reserve(array.size());
        for (const CWbemObjectPtr& object : array) {
            copies.push_back(Begun(*object));
        }
        return copies;
    }

    // The copy, or an empty object that waits to become it.
    CWbemObjectPtr Begun(const IWbemClassObject& original) {
        const bool isDeeper = HoldsObjects(original.GetProperties()) || !original.m_methods.empty();
        const bool isOfOwnKind = typeid(original) != typeid(IWbemClassObject);
        if (!isDeeper || isOfOwnKind) {
            return original.Clone();
        }
        auto copy = std::make_unique<IWbemClassObject>();
        m_waiting.emplace_back(&original, copy.get());
        return copy;
    }

    std::vector<Pair> m_waiting;
};

IWbemClassObject::IWbemClassObject() = default;

IWbemClassObject::IWbemClassObject(std::string className) : m_sClassName(std::move(className)) {}

IWbemClassObject::IWbemClassObject(const IWbemClassObject& other) {
    CDeepCopy::Copy(other, this);
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

IWbemClassObject::~IWbemClassObject() {
    IWbemClassObject* next = nullptr;
    TakeEmbedded(&next);
    while (next != nullptr) {
        const std::unique_ptr<IWbemClassObject> object(next);
        next = object->m_pNextToGo;
        object->TakeEmbedded(&next);
    }
}

void IWbemClassObject::TakeEmbedded(IWbemClassObject** list) noexcept {
    const auto take = [list](CWbemObjectPtr& object) {
        if (object != nullptr) {
            object->m_pNextToGo = *list;
            *list = object.release();
        }
    };
    const auto takeAll = [&take](Properties& properties) {
        for (Property& property : properties) {
            if (auto* object = std::get_if<CWbemObjectPtr>(&property.m_value)) {
                take(*object);
            } else if (auto* array = std::get_if<CWbemObjectArray>(&property.m_value)) {
                std::for_each(array->begin(), array->end(), take);
            }
        }
    };
    // Properties that are shared hold none.
    if (m_pProperties.use_count() == 1) {
        takeAll(*m_pProperties);
    }
    for (Method& method : m_methods) {
        takeAll(method.m_inParameters);
        takeAll(method.m_outParameters);
    }
}

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
        m_pProperties = std::make_shared<Properties>(CDeepCopy().Of(*m_pProperties));
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

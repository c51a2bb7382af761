#pragma once

#include "comlib/HResult.h"
#include "comlib/KzmApi.h"
#include "providerbase/CWbemValue.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

// A WBEM object: ordered, named, typed properties. It serves as an instance, as the definition of a
// class (which has methods, too) and as the definition of a method's parameters.
//
// A default-constructed object is empty, has no definition, and takes properties of any name and
// type. Copies are deep. Objects can embed each other to any depth: they are copied and destroyed
// on a stack of ordinary size. Names are compared exactly. An object is not locked: one thread at a
// time, or several that do not change it.
class KZM_API IWbemClassObject {
public:
    // One property. m_type is Null until a definition or a value gives it a type; m_bDefined tells
    // that a definition did, and that other types are refused.
    struct Property {
        std::string m_sName;
        WbemType m_type = WbemType::Null;
        bool m_bDefined = false;
        CWbemValue m_value;
        std::string m_sEmbeddedClass; // of Object and ObjectArray properties of a definition
    };
    using Properties = std::vector<Property>;

    IWbemClassObject();
    explicit IWbemClassObject(std::string className);
    IWbemClassObject(const IWbemClassObject& other);
    IWbemClassObject& operator=(const IWbemClassObject& other);
    IWbemClassObject(IWbemClassObject&&) noexcept;
    IWbemClassObject& operator=(IWbemClassObject&&) noexcept;
    virtual ~IWbemClassObject();

    // The property's value, owned by this object until a property is set or the object goes; null
    // when there is no such property. A property without a value has the std::monostate
    // alternative. An embedded object in it stays where it is until this property is set.
    [[nodiscard]] virtual const CWbemValue* Get(const char* name) const;

    // Sets the property, adding it at the end when it is new. A std::monostate clears the value.
    // kInvalidParameter: the name is null or empty, or the value holds a null object.
    // kTypeMismatch: the definition gives the property another type. The object is then unchanged.
    virtual HRESULT Put(const char* name, CWbemValue value);

    // Of a class definition: copies of the definitions of a method's parameters. Either out-pointer
    // can be null (not wanted). The caller owns what it gets and gives it back with Release.
    // kNotFound: the class has no such method; kInvalidParameter: the name is null. The
    // out-pointers are then left alone.
    virtual HRESULT GetMethod(const char* name, long flags, IWbemClassObject** inSignature,
                              IWbemClassObject** outSignature);

    // A new object with this definition's class name and properties, each without a value. The
    // caller owns it and gives it back with Release. kInvalidParameter: the out-pointer is null.
    virtual HRESULT SpawnInstance(long flags, IWbemClassObject** instance);

    // Destroys an object that GetObject, GetMethod or SpawnInstance handed out.
    virtual void Release();

    // A deep copy.
    [[nodiscard]] virtual std::unique_ptr<IWbemClassObject> Clone() const;

    // ---- For hosts, tools and tests ----

    [[nodiscard]] const std::string& GetClassName() const { return m_sClassName; }
    [[nodiscard]] const Properties& GetProperties() const;

    // Defines a property: from now on only values of this type, or null, are taken. Defining it
    // again replaces the definition and clears the value.
    void DefineProperty(const std::string& name, WbemType type, std::string embeddedClass = {});

    // Defines a method of a class, or defines it again.
    struct Method {
        std::string m_sName;
        WbemType m_returnType = WbemType::UInt32;
        Properties m_inParameters;
        Properties m_outParameters;
    };
    void DefineMethod(Method method);

private:
    class CDeepCopy;

    Properties& OwnProperties();
    // Puts the objects that this one embeds in front of the list, which their m_pNextToGo makes.
    void TakeEmbedded(IWbemClassObject** list) noexcept;

    std::string m_sClassName;
    // Null: there are none. Copies share them unless one is an object, which others could change
    // from outside: so the many rows of a table cost little when they are passed on. What was ever
    // shared does not change any more; OwnProperties makes a copy to be changed.
    std::shared_ptr<Properties> m_pProperties;
    mutable std::atomic<bool> m_bShared{false}; // set by threads that make copies at the same time
    std::vector<Method> m_methods;
    IWbemClassObject* m_pNextToGo = nullptr; // while the object that embedded this one is destroyed
};

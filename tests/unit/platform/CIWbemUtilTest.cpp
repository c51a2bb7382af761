#include "comlib/CIWbemUtil.h"
#include "providerbase/IWbemClassObject.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace {

// An object with one property of each type, named after it, and one without a value.
class CIWbemUtilTest : public testing::Test {
protected:
    CIWbemUtilTest() {
        CIWbemUtil::setBoolToIWbemClassObject(&m_object, "Bool", true);
        CIWbemUtil::setUIntToIWbemClassObject(&m_object, "UInt", 4'000'000'000U);
        CIWbemUtil::setIntToIWbemClassObject(&m_object, "Int", -5);
        CIWbemUtil::setStringToIWbemClassObject(&m_object, "String", "text");
        IWbemClassObject element("Element");
        CIWbemUtil::setIntToIWbemClassObject(&element, "Number", 1);
        CIWbemUtil::setParameterClassToIWbemClassObject(&m_object, "Object", &element);
        std::vector<IWbemClassObject*> elements{&element, &element};
        CIWbemUtil::setParameterClassArrayToIWbemClassObject(&m_object, "Array", &elements);
        m_object.DefineProperty("Null", WbemType::Boolean);
    }

    IWbemClassObject m_object;
};

TEST_F(CIWbemUtilTest, GetsWhatWasSet) {
    bool boolean = false;
    unsigned int unsignedNumber = 0;
    int number = 0;
    std::string text;
    EXPECT_EQ(0, CIWbemUtil::getBoolFromIWbemClassObject(&m_object, "Bool", &boolean));
    EXPECT_EQ(0, CIWbemUtil::getUIntFromIWbemClassObject(&m_object, "UInt", &unsignedNumber));
    EXPECT_EQ(0, CIWbemUtil::getIntFromIWbemClassObject(&m_object, "Int", &number));
    EXPECT_EQ(0, CIWbemUtil::getStringFromIWbemClassObject(&m_object, "String", &text));
    EXPECT_TRUE(boolean);
    EXPECT_EQ(4'000'000'000U, unsignedNumber);
    EXPECT_EQ(-5, number);
    EXPECT_EQ("text", text);
}

TEST_F(CIWbemUtilTest, HandsOutTheEmbeddedObjectsThatTheHolderOwns) {
    IWbemClassObject* object = nullptr;
    std::vector<IWbemClassObject*> array{&m_object};
    EXPECT_EQ(0, CIWbemUtil::getParameterClassFromIWbemClassObject(&m_object, "Object", &object));
    EXPECT_EQ(0,
              CIWbemUtil::getParameterClassArrayFromIWbemClassObject(&m_object, "Array", &array));
    EXPECT_EQ(std::get<CWbemObjectPtr>(*m_object.Get("Object")).get(), object);
    ASSERT_EQ(2U, array.size());
    EXPECT_EQ(std::get<CWbemObjectArray>(*m_object.Get("Array"))[1].get(), array[1]);
}

TEST_F(CIWbemUtilTest, CopiesEmbeddedObjectsDeeply) {
    IWbemClassObject element("Element");
    std::vector<IWbemClassObject*> elements{&element};
    EXPECT_EQ(0, CIWbemUtil::setParameterClassToIWbemClassObject(&m_object, "Object", &element));
    EXPECT_EQ(0,
              CIWbemUtil::setParameterClassArrayToIWbemClassObject(&m_object, "Array", &elements));
    CIWbemUtil::setIntToIWbemClassObject(&element, "Late", 1);
    EXPECT_EQ(nullptr, std::get<CWbemObjectPtr>(*m_object.Get("Object"))->Get("Late"));
    EXPECT_EQ(nullptr, std::get<CWbemObjectArray>(*m_object.Get("Array"))[0]->Get("Late"));
}

TEST_F(CIWbemUtilTest, TakesAnObjectThatTheHolderOwns) {
    IWbemClassObject* object = nullptr;
    CIWbemUtil::getParameterClassFromIWbemClassObject(&m_object, "Object", &object);
    EXPECT_EQ(0, CIWbemUtil::setParameterClassToIWbemClassObject(&m_object, "Object", object));
    EXPECT_EQ("Element", std::get<CWbemObjectPtr>(*m_object.Get("Object"))->GetClassName());
}

// One getter with an out-argument of its own, which says whether it was left alone.
struct Getter {
    const char* m_pType;
    std::function<HRESULT(IWbemClassObject*, const char*)> m_get;
    std::function<HRESULT(IWbemClassObject*, const char*)> m_getWithoutOut;
    std::function<bool()> m_isUntouched;
};

template <typename T>
Getter MakeGetter(const char* type, HRESULT (*get)(IWbemClassObject*, const char*, T*), T initial) {
    const auto value = std::make_shared<T>(initial);
    return {
        type,
        [=](IWbemClassObject* object, const char* name) { return get(object, name, value.get()); },
        [=](IWbemClassObject* object, const char* name) { return get(object, name, nullptr); },
        [=] { return *value == initial; }};
}

std::vector<Getter> MakeGetters(IWbemClassObject* untouched) {
    using Objects = std::vector<IWbemClassObject*>;
    return {
        MakeGetter<bool>("Bool", CIWbemUtil::getBoolFromIWbemClassObject, false),
        MakeGetter<unsigned int>("UInt", CIWbemUtil::getUIntFromIWbemClassObject, 77),
        MakeGetter<int>("Int", CIWbemUtil::getIntFromIWbemClassObject, 77),
        MakeGetter<std::string>("String", CIWbemUtil::getStringFromIWbemClassObject, "untouched"),
        MakeGetter<IWbemClassObject*>("Object", CIWbemUtil::getParameterClassFromIWbemClassObject,
                                      untouched),
        MakeGetter<Objects>("Array", CIWbemUtil::getParameterClassArrayFromIWbemClassObject,
                            Objects{untouched}),
    };
}

TEST_F(CIWbemUtilTest, AGetterThatFailsLeavesItsOutArgumentAlone) {
    IWbemClassObject untouched;
    for (const Getter& getter : MakeGetters(&untouched)) {
        SCOPED_TRACE(getter.m_pType);
        EXPECT_EQ(WbemResult::kInvalidParameter, getter.m_get(nullptr, getter.m_pType));
        EXPECT_EQ(WbemResult::kInvalidParameter, getter.m_get(&m_object, nullptr));
        EXPECT_EQ(WbemResult::kInvalidParameter, getter.m_getWithoutOut(&m_object, getter.m_pType));
        EXPECT_EQ(WbemResult::kNotFound, getter.m_get(&m_object, "Missing"));
        EXPECT_EQ(WbemResult::kNotFound, getter.m_get(&m_object, "Null"));
        for (const char* other : {"Bool", "UInt", "Int", "String", "Object", "Array"}) {
            SCOPED_TRACE(other);
            if (std::string(other) != getter.m_pType) {
                EXPECT_EQ(WbemResult::kTypeMismatch, getter.m_get(&m_object, other));
            }
        }
        EXPECT_TRUE(getter.m_isUntouched());
        EXPECT_EQ(WbemResult::kSuccess, getter.m_get(&m_object, getter.m_pType));
        EXPECT_FALSE(getter.m_isUntouched());
    }
}

// Every setter, with a value of its type.
std::vector<std::function<HRESULT(IWbemClassObject*, const char*)>>
MakeSetters(std::vector<IWbemClassObject*>* values) {
    using Object = IWbemClassObject;
    return {
        [](Object* object, const char* name) {
            return CIWbemUtil::setBoolToIWbemClassObject(object, name, true);
        },
        [](Object* object, const char* name) {
            return CIWbemUtil::setUIntToIWbemClassObject(object, name, 1);
        },
        [](Object* object, const char* name) {
            return CIWbemUtil::setIntToIWbemClassObject(object, name, 1);
        },
        [](Object* object, const char* name) {
            return CIWbemUtil::setStringToIWbemClassObject(object, name, "1");
        },
        [=](Object* object, const char* name) {
            return CIWbemUtil::setParameterClassToIWbemClassObject(object, name, values->front());
        },
        [=](Object* object, const char* name) {
            return CIWbemUtil::setParameterClassArrayToIWbemClassObject(object, name, values);
        },
    };
}

TEST_F(CIWbemUtilTest, ASetterRefusesNullAndOtherTypesThanTheDefinition) {
    IWbemClassObject element;
    std::vector<IWbemClassObject*> values{&element};
    const auto setters = MakeSetters(&values);
    for (std::size_t own = 0; own < setters.size(); ++own) {
        SCOPED_TRACE("setter " + std::to_string(own));
        EXPECT_EQ(WbemResult::kInvalidParameter, setters[own](nullptr, "New"));
        EXPECT_EQ(WbemResult::kInvalidParameter, setters[own](&m_object, nullptr));
        for (std::size_t type = 0; type < setters.size(); ++type) {
            SCOPED_TRACE("type " + std::to_string(type));
            IWbemClassObject object;
            object.DefineProperty("Defined", static_cast<WbemType>(type + 1));
            EXPECT_EQ(type == own ? WbemResult::kSuccess : WbemResult::kTypeMismatch,
                      setters[own](&object, "Defined"));
            EXPECT_EQ(type == own ? type + 1 : 0, object.Get("Defined")->index());
        }
    }
}

TEST_F(CIWbemUtilTest, ANullAmongEmbeddedObjectsChangesNothing) {
    IWbemClassObject element;
    std::vector<IWbemClassObject*> values{&element, nullptr};
    EXPECT_EQ(WbemResult::kInvalidParameter,
              CIWbemUtil::setParameterClassArrayToIWbemClassObject(&m_object, "Array", &values));
    EXPECT_EQ(WbemResult::kInvalidParameter,
              CIWbemUtil::setParameterClassArrayToIWbemClassObject(&m_object, "Array", nullptr));
    EXPECT_EQ(WbemResult::kInvalidParameter,
              CIWbemUtil::setParameterClassToIWbemClassObject(&m_object, "Object", nullptr));
    EXPECT_EQ(2U, std::get<CWbemObjectArray>(*m_object.Get("Array")).size());
    EXPECT_EQ("Element", std::get<CWbemObjectPtr>(*m_object.Get("Object"))->GetClassName());
}

TEST_F(CIWbemUtilTest, AnEmptyArrayIsAValue) {
    std::vector<IWbemClassObject*> none;
    EXPECT_EQ(0, CIWbemUtil::setParameterClassArrayToIWbemClassObject(&m_object, "Array", &none));
    std::vector<IWbemClassObject*> found{&m_object};
    EXPECT_EQ(0,
              CIWbemUtil::getParameterClassArrayFromIWbemClassObject(&m_object, "Array", &found));
    EXPECT_TRUE(found.empty());
}

TEST_F(CIWbemUtilTest, TheReturnValueIsUnsigned) {
    for (const unsigned long value : {0UL, 176UL, 0x80000001UL, 0x80000002UL}) {
        SCOPED_TRACE(value);
        EXPECT_EQ(0, CIWbemUtil::setReturnValueToIWbemClassObject(&m_object, value));
        EXPECT_EQ(value, std::get<std::uint32_t>(*m_object.Get("ReturnValue")));
    }
    EXPECT_EQ(WbemResult::kInvalidParameter,
              CIWbemUtil::setReturnValueToIWbemClassObject(nullptr, 0));
}

} // namespace

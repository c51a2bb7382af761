#include "providerbase/IWbemClassObject.h"

#include <gtest/gtest.h>

#include <malloc.h>

#include <string>

namespace {

using Property = IWbemClassObject::Property;

CWbemObjectPtr MakeObject(const std::string& className, std::uint32_t number) {
    auto object = std::make_unique<IWbemClassObject>(className);
    object->Put("Number", number);
    return object;
}

CWbemObjectArray MakeArray(std::uint32_t first, std::uint32_t second) {
    CWbemObjectArray array;
    array.push_back(MakeObject("Element", first));
    array.push_back(MakeObject("Element", second));
    return array;
}

std::uint32_t NumberOf(const IWbemClassObject& object) {
    return std::get<std::uint32_t>(*object.Get("Number"));
}

std::vector<std::string> NamesOf(const IWbemClassObject& object) {
    std::vector<std::string> names;
    for (const Property& property : object.GetProperties()) {
        names.push_back(property.m_sName);
    }
    return names;
}

// A class with two properties and one method, as a definition declares it.
IWbemClassObject MakeClass() {
    IWbemClassObject definition("VELTARO_Sample");
    definition.DefineProperty("Switch", WbemType::Boolean);
    definition.DefineProperty("Nested", WbemType::Object, "VELTARO_Nested");
    IWbemClassObject::Method method;
    method.m_sName = "SetParameter";
    method.m_inParameters.push_back({"Conf", WbemType::Object, false, {}, "VELTARO_Conf"});
    method.m_outParameters.push_back({"Text", WbemType::String, false, {}, ""});
    definition.DefineMethod(std::move(method));
    return definition;
}

TEST(IWbemClassObjectTest, AnEmptyObjectHasNothing) {
    const IWbemClassObject object;
    EXPECT_EQ("", object.GetClassName());
    EXPECT_TRUE(object.GetProperties().empty());
    EXPECT_EQ(nullptr, object.Get("Number"));
    EXPECT_EQ(nullptr, object.Get(""));
    EXPECT_EQ(nullptr, object.Get(nullptr));
}

TEST(IWbemClassObjectTest, KeepsPropertiesInTheOrderOfTheirFirstSetting) {
    IWbemClassObject object;
    object.Put("b", true);
    object.Put("a", 1U);
    object.Put("b", false);
    object.Put("B", 2U);
    EXPECT_EQ((std::vector<std::string>{"b", "a", "B"}), NamesOf(object));
    EXPECT_FALSE(std::get<bool>(*object.Get("b")));
}

TEST(IWbemClassObjectTest, AnUndefinedPropertyTakesEveryType) {
    IWbemClassObject object;
    CWbemValue values[] = {CWbemValue(true),
                           CWbemValue(1U),
                           CWbemValue(-1),
                           CWbemValue(std::string("text")),
                           CWbemValue(MakeObject("Nested", 1)),
                           CWbemValue(MakeArray(1, 2)),
                           CWbemValue()};
    for (CWbemValue& value : values) {
        const std::size_t type = value.index();
        SCOPED_TRACE(type);
        EXPECT_EQ(WbemResult::kSuccess, object.Put("Any", std::move(value)));
        EXPECT_EQ(type, object.Get("Any")->index());
    }
    EXPECT_EQ(1U, object.GetProperties().size());
}

TEST(IWbemClassObjectTest, RefusesWhatIsNoPropertyAndStaysAsItWas) {
    IWbemClassObject object;
    object.Put("Number", 7U);
    CWbemObjectArray arrayWithNull = MakeArray(1, 2);
    arrayWithNull[1] = nullptr;
    EXPECT_EQ(WbemResult::kInvalidParameter, object.Put(nullptr, 1U));
    EXPECT_EQ(WbemResult::kInvalidParameter, object.Put("", 1U));
    EXPECT_EQ(WbemResult::kInvalidParameter, object.Put("Number", CWbemObjectPtr()));
    EXPECT_EQ(WbemResult::kInvalidParameter, object.Put("Number", std::move(arrayWithNull)));
    EXPECT_EQ(std::vector<std::string>{"Number"}, NamesOf(object));
    EXPECT_EQ(7U, NumberOf(object));
}

TEST(IWbemClassObjectTest, ADefinedPropertyTakesItsTypeAndNullOnly) {
    IWbemClassObject object;
    object.DefineProperty("Number", WbemType::UInt32);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(*object.Get("Number")));
    EXPECT_EQ(WbemResult::kSuccess, object.Put("Number", 7U));
    EXPECT_EQ(WbemResult::kTypeMismatch, object.Put("Number", 7));
    EXPECT_EQ(WbemResult::kTypeMismatch, object.Put("Number", std::string("7")));
    EXPECT_EQ(7U, NumberOf(object));
    EXPECT_EQ(WbemResult::kSuccess, object.Put("Number", CWbemValue()));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(*object.Get("Number")));
    EXPECT_EQ(WbemResult::kTypeMismatch, object.Put("Number", true));
}

TEST(IWbemClassObjectTest, WhatIsSetInACopyOrItsOriginalStaysThere) {
    IWbemClassObject original;
    original.Put("Number", 1U);
    IWbemClassObject copy = original;
    const IWbemClassObject copyOfCopy = copy;
    original.Put("Number", 2U);
    copy.Put("Other", true);
    copy.DefineProperty("Number", WbemType::String);
    EXPECT_EQ(2U, NumberOf(original));
    EXPECT_EQ(std::vector<std::string>{"Number"}, NamesOf(original));
    EXPECT_EQ((std::vector<std::string>{"Number", "Other"}), NamesOf(copy));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(*copy.Get("Number")));
    EXPECT_EQ(1U, NumberOf(copyOfCopy));
    EXPECT_EQ(std::vector<std::string>{"Number"}, NamesOf(copyOfCopy));
}

TEST(IWbemClassObjectTest, WhatIsChangedThroughAPointerIsNotChangedInCopies) {
    IWbemClassObject original;
    original.Put("Nested", MakeObject("Nested", 1));
    IWbemClassObject* nested = std::get<CWbemObjectPtr>(*original.Get("Nested")).get();
    const IWbemClassObject copy = original;
    nested->Put("Number", 2U);
    EXPECT_EQ(2U, NumberOf(*std::get<CWbemObjectPtr>(*original.Get("Nested"))));
    EXPECT_EQ(1U, NumberOf(*std::get<CWbemObjectPtr>(*copy.Get("Nested"))));
}

// An object whose properties it once shared with another, which is gone.
IWbemClassObject MakeLastOfTwoCopies() {
    IWbemClassObject original;
    original.DefineProperty("Number", WbemType::UInt32);
    original.Put("Number", 1U);
    const IWbemClassObject& constant = original;
    return IWbemClassObject(constant);
}

TEST(IWbemClassObjectTest, APropertyOfACopyIsSetByItsOwnName) {
    IWbemClassObject copy = MakeLastOfTwoCopies();
    EXPECT_EQ(WbemResult::kSuccess, copy.Put(copy.GetProperties()[0].m_sName.c_str(), 2U));
    EXPECT_EQ(2U, NumberOf(copy));
    IWbemClassObject another = MakeLastOfTwoCopies();
    another.DefineProperty(another.GetProperties()[0].m_sName, WbemType::Boolean);
    EXPECT_EQ(std::vector<std::string>{"Number"}, NamesOf(another));
    EXPECT_EQ(WbemType::Boolean, another.GetProperties()[0].m_type);
}

TEST(IWbemClassObjectTest, ARefusedValueLeavesTheValuesOfACopyWhereTheyAre) {
    IWbemClassObject copy = MakeLastOfTwoCopies();
    const CWbemValue* value = copy.Get("Number");
    EXPECT_EQ(WbemResult::kTypeMismatch, copy.Put("Number", true));
    EXPECT_EQ(value, copy.Get("Number"));
    EXPECT_EQ(1U, std::get<std::uint32_t>(*value));
}

TEST(IWbemClassObjectTest, AValueOutlivesTheOtherCopies) {
    const IWbemClassObject copy = [] {
        IWbemClassObject original;
        original.Put("Number", 1U);
        return IWbemClassObject(static_cast<const IWbemClassObject&>(original));
    }();
    const CWbemValue* value = copy.Get("Number");
    {
        IWbemClassObject other = copy;
        other.Put("Number", 2U);
    }
    EXPECT_EQ(1U, std::get<std::uint32_t>(*value));
}

TEST(IWbemClassObjectTest, DefiningAPropertyAgainReplacesItInItsPlace) {
    IWbemClassObject object;
    object.DefineProperty("First", WbemType::UInt32);
    object.DefineProperty("Second", WbemType::UInt32);
    object.Put("First", 7U);
    object.DefineProperty("First", WbemType::Object, "VELTARO_Nested");
    EXPECT_EQ((std::vector<std::string>{"First", "Second"}), NamesOf(object));
    const Property& first = object.GetProperties().front();
    EXPECT_EQ(WbemType::Object, first.m_type);
    EXPECT_EQ("VELTARO_Nested", first.m_sEmbeddedClass);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(first.m_value));
}

void ExpectIndependentCopy(const IWbemClassObject& copy, IWbemClassObject& original) {
    original.Put("Nested", MakeObject("Changed", 100));
    original.Put("List", MakeArray(101, 102));
    EXPECT_EQ("Outer", copy.GetClassName());
    const auto& nested = std::get<CWbemObjectPtr>(*copy.Get("Nested"));
    EXPECT_EQ("Nested", nested->GetClassName());
    EXPECT_EQ(1U, NumberOf(*nested));
    const auto& list = std::get<CWbemObjectArray>(*copy.Get("List"));
    ASSERT_EQ(2U, list.size());
    EXPECT_EQ(2U, NumberOf(*list[0]));
    EXPECT_EQ(3U, NumberOf(*list[1]));
}

IWbemClassObject MakeOuter() {
    IWbemClassObject object("Outer");
    object.Put("Nested", MakeObject("Nested", 1));
    object.Put("List", MakeArray(2, 3));
    return object;
}

TEST(IWbemClassObjectTest, CopiesAreDeep) {
    IWbemClassObject original = MakeOuter();
    const IWbemClassObject copy = original;
    ExpectIndependentCopy(copy, original);

    original = MakeOuter();
    IWbemClassObject assigned = MakeClass();
    assigned = original;
    ExpectIndependentCopy(assigned, original);

    original = MakeOuter();
    ExpectIndependentCopy(*original.Clone(), original);
}

TEST(IWbemClassObjectTest, CanBecomeAnObjectThatItHolds) {
    IWbemClassObject copied = MakeOuter();
    copied = *std::get<CWbemObjectPtr>(*copied.Get("Nested"));
    EXPECT_EQ("Nested", copied.GetClassName());
    EXPECT_EQ(1U, NumberOf(copied));

    IWbemClassObject moved = MakeOuter();
    moved = std::move(*std::get<CWbemObjectPtr>(*moved.Get("Nested")));
    EXPECT_EQ("Nested", moved.GetClassName());
    EXPECT_EQ(1U, NumberOf(moved));
}

TEST(IWbemClassObjectTest, ACopyOfAClassHasItsMethods) {
    IWbemClassObject copy = MakeClass();
    EXPECT_EQ(WbemResult::kSuccess, copy.Clone()->GetMethod("SetParameter", 0, nullptr, nullptr));
}

TEST(IWbemClassObjectTest, GivesTheSignaturesOfAMethod) {
    IWbemClassObject definition = MakeClass();
    IWbemClassObject* in = nullptr;
    IWbemClassObject* out = nullptr;
    ASSERT_EQ(WbemResult::kSuccess, definition.GetMethod("SetParameter", 0, &in, &out));
    EXPECT_EQ("__PARAMETERS", in->GetClassName());
    EXPECT_EQ("__PARAMETERS", out->GetClassName());
    EXPECT_EQ(std::vector<std::string>{"Conf"}, NamesOf(*in));
    EXPECT_EQ("VELTARO_Conf", in->GetProperties()[0].m_sEmbeddedClass);
    EXPECT_EQ((std::vector<std::string>{"ReturnValue", "Text"}), NamesOf(*out));
    EXPECT_EQ(WbemResult::kSuccess, out->Put("ReturnValue", 176U));
    EXPECT_EQ(WbemResult::kTypeMismatch, out->Put("ReturnValue", 176));
    EXPECT_EQ(WbemResult::kTypeMismatch, out->Put("Text", 1U));
    in->Release();
    out->Release();
}

TEST(IWbemClassObjectTest, GivesOnlyTheSignatureThatIsWanted) {
    IWbemClassObject definition = MakeClass();
    IWbemClassObject* in = nullptr;
    IWbemClassObject* out = nullptr;
    ASSERT_EQ(WbemResult::kSuccess, definition.GetMethod("SetParameter", 0, nullptr, &out));
    ASSERT_EQ(WbemResult::kSuccess, definition.GetMethod("SetParameter", 0, &in, nullptr));
    EXPECT_EQ(std::vector<std::string>{"Conf"}, NamesOf(*in));
    EXPECT_EQ((std::vector<std::string>{"ReturnValue", "Text"}), NamesOf(*out));
    in->Release();
    out->Release();
}

TEST(IWbemClassObjectTest, LeavesTheSignaturesAloneWithoutTheMethod) {
    IWbemClassObject definition = MakeClass();
    IWbemClassObject untouched;
    struct {
        const char* m_pName;
        HRESULT m_result;
    } const rows[] = {
        {"setparameter", WbemResult::kNotFound},
        {"", WbemResult::kNotFound},
        {nullptr, WbemResult::kInvalidParameter},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.m_pName));
        IWbemClassObject* in = &untouched;
        IWbemClassObject* out = &untouched;
        EXPECT_EQ(row.m_result, definition.GetMethod(row.m_pName, 0, &in, &out));
        EXPECT_EQ(&untouched, in);
        EXPECT_EQ(&untouched, out);
    }
}

TEST(IWbemClassObjectTest, DefiningAMethodAgainReplacesIt) {
    IWbemClassObject definition = MakeClass();
    definition.DefineMethod({"SetParameter", WbemType::Boolean, {}, {}});
    IWbemClassObject* out = nullptr;
    ASSERT_EQ(WbemResult::kSuccess, definition.GetMethod("SetParameter", 0, nullptr, &out));
    EXPECT_EQ(std::vector<std::string>{"ReturnValue"}, NamesOf(*out));
    EXPECT_EQ(WbemType::Boolean, out->GetProperties()[0].m_type);
    out->Release();
}

TEST(IWbemClassObjectTest, SpawnsAnInstanceWithoutValues) {
    IWbemClassObject definition = MakeClass();
    definition.Put("Switch", true);
    IWbemClassObject* instance = nullptr;
    ASSERT_EQ(WbemResult::kSuccess, definition.SpawnInstance(0, &instance));
    EXPECT_EQ("VELTARO_Sample", instance->GetClassName());
    EXPECT_EQ((std::vector<std::string>{"Switch", "Nested"}), NamesOf(*instance));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(*instance->Get("Switch")));
    EXPECT_EQ(WbemResult::kTypeMismatch, instance->Put("Switch", 1U));
    EXPECT_EQ("VELTARO_Nested", instance->GetProperties()[1].m_sEmbeddedClass);
    EXPECT_TRUE(std::get<bool>(*definition.Get("Switch")));
    instance->Release();
    EXPECT_EQ(WbemResult::kInvalidParameter, definition.SpawnInstance(0, nullptr));
}

TEST(IWbemClassObjectTest, NullLeavesAPropertyItsType) {
    IWbemClassObject object;
    object.Put("Number", 1U);
    object.Put("Number", std::monostate());
    EXPECT_EQ(WbemType::UInt32, object.GetProperties().front().m_type);
}

TEST(IWbemClassObjectTest, APropertyCanBePutByTheNameThatItHas) {
    IWbemClassObject object;
    object.Put("Number", 1U);
    for (const char letter : std::string("abcdefghijklmnopqrstuvwxyz")) { // so many are not kept
        object.Put(std::string(1, letter).c_str(), true);
    }
    auto copy = std::make_unique<IWbemClassObject>(object);
    const char* name = object.GetProperties().front().m_sName.c_str();
    copy.reset();             // the properties are the object's alone, which does not know it
    mallopt(M_PERTURB, 0x55); // what is freed is not as before
    EXPECT_EQ(WbemResult::kSuccess, object.Put(name, 2U));
    mallopt(M_PERTURB, 0);
    EXPECT_EQ(2U, NumberOf(object));
}

TEST(IWbemClassObjectTest, SignaturesThatNobodyWantsAreNotMadeForEver) {
    IWbemClassObject definition = MakeClass();
    EXPECT_EQ(0, definition.GetMethod("SetParameter", 0, nullptr, nullptr));
    const std::size_t before = mallinfo2().uordblks;
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(0, definition.GetMethod("SetParameter", 0, nullptr, nullptr));
    }
    EXPECT_LT(mallinfo2().uordblks, before + 1'000);
}

} // namespace

#include "serverbase/Frames.h"

#include <gtest/gtest.h>

using namespace messages;
using std::string;

namespace {

// The texts of objects, put together apart from the product.
string Number(std::uint32_t value) {
    string bytes;
    for (int i = 0; i < 4; ++i) {
        bytes += static_cast<char>(value >> (8 * i) & 0xFF);
    }
    return bytes;
}
string Text(const string& text) {
    return Number(static_cast<std::uint32_t>(text.size())) + text;
}
string Property(const string& name, int type, const string& value) {
    return Text(name) + static_cast<char>(type) + '\1' + value;
}
string Empty(const string& name, int type) {
    return Text(name) + static_cast<char>(type) + '\0';
}
string Object(const string& className, std::uint32_t count, const string& properties) {
    return Text(className) + Number(count) + properties;
}

struct CObjectRow {
    const char* m_name;
    IWbemClassObject m_object;
    string m_text;
};

CWbemObjectPtr New(const string& className) {
    return std::make_unique<IWbemClassObject>(className);
}

IWbemClassObject With(const char* name, CWbemValue value) {
    IWbemClassObject object("C");
    object.Put(name, std::move(value));
    return object;
}

IWbemClassObject EveryType() {
    IWbemClassObject object("Every");
    object.Put("b", true);
    object.Put("u", std::uint32_t{4000000000});
    object.Put("i", std::int32_t{-2});
    object.Put("s", string("x\0y", 3));
    object.Put("o", New("Inner"));
    CWbemObjectArray array;
    array.push_back(New("First"));
    array.push_back(New("Second"));
    object.Put("a", std::move(array));
    object.Put("n", std::monostate());
    return object;
}

IWbemClassObject Defined() {
    IWbemClassObject object("C");
    object.DefineProperty("s", WbemType::String);
    object.DefineProperty("a", WbemType::ObjectArray, "Row");
    return object;
}

std::vector<CObjectRow> Rows() {
    std::vector<CObjectRow> rows;
    rows.push_back({"nothing", IWbemClassObject(), Object("", 0, "")});
    rows.push_back({"a class", IWbemClassObject("C"), Object("C", 0, "")});
    rows.push_back({"false", With("b", false), Object("C", 1, Property("b", 1, {"\0", 1}))});
    rows.push_back({"an empty text", With("s", ""), Object("C", 1, Property("s", 4, Text("")))});
    rows.push_back({"an empty array", With("a", CWbemObjectArray()),
                    Object("C", 1, Property("a", 6, Number(0)))});
    rows.push_back(
        {"types without values", Defined(), Object("C", 2, Empty("s", 4) + Empty("a", 6))});
    const string array = Number(2) + Object("First", 0, "") + Object("Second", 0, "");
    rows.push_back({"every type", EveryType(),
                    Object("Every", 7,
                           Property("b", 1, "\1") + Property("u", 2, Number(4000000000)) +
                               Property("i", 3, Number(0xFFFFFFFE)) +
                               Property("s", 4, Text(string("x\0y", 3))) +
                               Property("o", 5, Object("Inner", 0, "")) + Property("a", 6, array) +
                               Empty("n", 0))});
    return rows;
}

TEST(ObjectText, HasTheseBytes) {
    for (const CObjectRow& row : Rows()) {
        EXPECT_EQ(EncodeObject(row.m_object), row.m_text) << row.m_name;
    }
}

TEST(ObjectText, IsReadBack) {
    for (const CObjectRow& row : Rows()) {
        const auto object = DecodeObject(row.m_text);
        ASSERT_NE(object, nullptr) << row.m_name;
        EXPECT_EQ(EncodeObject(*object), row.m_text) << row.m_name;
    }
}

TEST(ObjectText, ReadingGivesTypedValues) {
    const auto object = DecodeObject(EncodeObject(EveryType()));
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->GetClassName(), "Every");
    EXPECT_TRUE(std::get<bool>(*object->Get("b")));
    EXPECT_EQ(std::get<std::uint32_t>(*object->Get("u")), 4000000000U);
    EXPECT_EQ(std::get<std::int32_t>(*object->Get("i")), -2);
    EXPECT_EQ(std::get<string>(*object->Get("s")), string("x\0y", 3));
    EXPECT_EQ(std::get<CWbemObjectPtr>(*object->Get("o"))->GetClassName(), "Inner");
    const auto& array = std::get<CWbemObjectArray>(*object->Get("a"));
    ASSERT_EQ(array.size(), 2U);
    EXPECT_EQ(array[1]->GetClassName(), "Second");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(*object->Get("n")));
}

TEST(ObjectText, EveryTruncationIsRefused) {
    for (const CObjectRow& row : Rows()) {
        for (std::size_t size = 0; size < row.m_text.size(); ++size) {
            EXPECT_EQ(DecodeObject(row.m_text.substr(0, size)), nullptr) << row.m_name << size;
        }
        EXPECT_EQ(DecodeObject(row.m_text + '\0'), nullptr) << row.m_name << ", and a byte";
    }
}

struct CRefusedRow {
    const char* m_name;
    string m_text;
};

const CRefusedRow kRefusedRows[] = {
    {"an unknown type", Object("C", 1, Property("p", 7, Number(0)))},
    {"an unknown type without a value", Object("C", 1, Empty("p", 7))},
    {"a value of no type", Object("C", 1, Property("p", 0, ""))},
    {"a third truth value", Object("C", 1, Property("p", 1, "\2"))},
    {"a third answer to whether there is a value", Object("C", 1, Text("p") + "\1\2\1")},
    {"a property without a name", Object("C", 1, Property("", 1, "\1"))},
    {"a zero byte in a name", Object("C", 1, Property({"p\0", 2}, 1, "\1"))},
    {"a name twice", Object("C", 2, Property("p", 1, "\1") + Property("p", 1, "\1"))},
    {"fewer properties than announced", Object("C", 2, Property("p", 1, "\1"))},
    {"more properties than announced", Object("C", 0, Property("p", 1, "\1"))},
    {"more entries than there are", Object("C", 1, Property("p", 6, Number(0xFFFFFFFF)))},
};

TEST(ObjectText, WhatIsNoObjectIsRefused) {
    for (const CRefusedRow& row : kRefusedRows) {
        EXPECT_EQ(DecodeObject(row.m_text), nullptr) << row.m_name;
    }
}

IWbemClassObject Nested(std::size_t depth) {
    IWbemClassObject object("C");
    for (std::size_t i = 1; i < depth; ++i) {
        IWbemClassObject outer("C");
        outer.Put("o", object.Clone());
        object = std::move(outer);
    }
    return object;
}

// As nobody writes it who writes objects.
string NestedText(std::size_t depth) {
    string text = Object("C", 0, "");
    for (std::size_t i = 1; i < depth; ++i) {
        text = Object("C", 1, Property("o", 5, text));
    }
    return text;
}

IWbemClassObject Wide(std::size_t properties) {
    IWbemClassObject object("C");
    for (std::size_t i = 0; i < properties; ++i) {
        object.Put(std::to_string(i).c_str(), true);
    }
    return object;
}

string Many(std::size_t objects) { // the outer one is one of them
    const auto entries = static_cast<std::uint32_t>(objects - 1);
    string text = Text("") + Number(1) + Text("a") + "\6\1" + Number(entries);
    text.append(8 * (objects - 1), '\0');
    return text;
}

TEST(ObjectText, LimitsAreExact) {
    const auto isRead = [](const string& text) { return DecodeObject(text) != nullptr; };
    EXPECT_TRUE(isRead(EncodeObject(Nested(kObjectDepth))));
    EXPECT_FALSE(isRead(EncodeObject(Nested(kObjectDepth + 1))));
    EXPECT_TRUE(isRead(NestedText(kObjectDepth)));
    EXPECT_FALSE(isRead(NestedText(kObjectDepth + 1)));
    EXPECT_TRUE(isRead(EncodeObject(Wide(kObjectProperties))));
    EXPECT_FALSE(isRead(EncodeObject(Wide(kObjectProperties + 1))));
    EXPECT_TRUE(isRead(Many(kObjectCount)));
    EXPECT_FALSE(isRead(Many(kObjectCount + 1)));
    const string name(kObjectNameBytes, 'n');
    EXPECT_TRUE(isRead(Object(name, 1, Property(name, 1, "\1"))));
    EXPECT_FALSE(isRead(Object(name + "n", 0, "")));
    EXPECT_FALSE(isRead(Object("C", 1, Property(name + "n", 1, "\1"))));
}

TEST(ObjectText, DeepObjectsAreWrittenOnAnOrdinaryStack) {
    EXPECT_EQ(DecodeObject(EncodeObject(Nested(300))), nullptr);
}

} // namespace

#include "host/InstanceText.h"

#include "tests/support/TableTest.h"
#include "tests/unit/host/SampleClasses.h"

#include <memory>

using std::string;

namespace {

std::unique_ptr<IWbemClassObject> InnerObject(const string& name, std::int32_t level) {
    auto object = std::make_unique<IWbemClassObject>();
    object->Put("Name", name);
    object->Put("Level", level);
    return object;
}

string Write(const IWbemClassObject& object, const string& className) {
    string error;
    const auto text = cim::InstanceText(object, className, SampleClasses(), &error);
    EXPECT_EQ(text.has_value(), error.empty());
    return text.value_or(error);
}

TEST(InstanceText, HasEveryType) {
    IWbemClassObject object("outer"); // properties in another order than the class's
    CWbemObjectArray many;
    many.push_back(InnerObject("<x>&\\\x01\xFF", 1));
    many.push_back(InnerObject("", -1));
    object.Put("Many", std::move(many));
    object.Put("One", InnerObject("\"q\"", -2147483647 - 1));
    object.Put("Name", string("]]>'\xC3\xBC"));
    object.Put("Level", std::int32_t{-5});
    object.Put("Count", std::uint32_t{4294967295});
    object.Put("Flag", false);
    EXPECT_EQ(
        "<INSTANCE CLASSNAME=\"Outer\">"
        "<PROPERTY NAME=\"Flag\" TYPE=\"boolean\"><VALUE>FALSE</VALUE></PROPERTY>"
        "<PROPERTY NAME=\"Count\" TYPE=\"uint32\"><VALUE>4294967295</VALUE></PROPERTY>"
        "<PROPERTY NAME=\"Level\" TYPE=\"sint32\"><VALUE>-5</VALUE></PROPERTY>"
        "<PROPERTY NAME=\"Name\" TYPE=\"string\"><VALUE>]]&gt;'\xC3\xBC</VALUE></PROPERTY>"
        "<PROPERTY NAME=\"One\" TYPE=\"string\" EmbeddedObject=\"instance\"><VALUE>"
        "&lt;INSTANCE CLASSNAME=\"Inner\"&gt;"
        "&lt;PROPERTY NAME=\"Name\" TYPE=\"string\"&gt;&lt;VALUE&gt;\"q\"&lt;/VALUE&gt;"
        "&lt;/PROPERTY&gt;"
        "&lt;PROPERTY NAME=\"Level\" TYPE=\"sint32\"&gt;&lt;VALUE&gt;-2147483648&lt;/VALUE&gt;"
        "&lt;/PROPERTY&gt;&lt;/INSTANCE&gt;</VALUE></PROPERTY>"
        "<PROPERTY.ARRAY NAME=\"Many\" TYPE=\"string\" EmbeddedObject=\"instance\"><VALUE.ARRAY>"
        "<VALUE>&lt;INSTANCE CLASSNAME=\"Inner\"&gt;"
        "&lt;PROPERTY NAME=\"Name\" TYPE=\"string\"&gt;&lt;VALUE&gt;"
        "&amp;lt;x&amp;gt;&amp;amp;\\\\\\x01\\xFF&lt;/VALUE&gt;&lt;/PROPERTY&gt;"
        "&lt;PROPERTY NAME=\"Level\" TYPE=\"sint32\"&gt;&lt;VALUE&gt;1&lt;/VALUE&gt;"
        "&lt;/PROPERTY&gt;&lt;/INSTANCE&gt;</VALUE>"
        "<VALUE>&lt;INSTANCE CLASSNAME=\"Inner\"&gt;"
        "&lt;PROPERTY NAME=\"Name\" TYPE=\"string\"&gt;&lt;VALUE&gt;&lt;/VALUE&gt;&lt;/PROPERTY&gt;"
        "&lt;PROPERTY NAME=\"Level\" TYPE=\"sint32\"&gt;&lt;VALUE&gt;-1&lt;/VALUE&gt;"
        "&lt;/PROPERTY&gt;&lt;/INSTANCE&gt;</VALUE>"
        "</VALUE.ARRAY></PROPERTY.ARRAY>"
        "</INSTANCE>",
        Write(object, "OUTER"));
}

TEST(InstanceText, HasWhatIsNullWithoutAValue) {
    IWbemClassObject object;
    object.Put("Flag", {});
    object.Put("Count", std::uint32_t{0});
    object.Put("Stray", true); // the class has no such property
    EXPECT_EQ("<INSTANCE CLASSNAME=\"Outer\">"
              "<PROPERTY NAME=\"Flag\" TYPE=\"boolean\"></PROPERTY>"
              "<PROPERTY NAME=\"Count\" TYPE=\"uint32\"><VALUE>0</VALUE></PROPERTY>"
              "<PROPERTY NAME=\"Level\" TYPE=\"sint32\"></PROPERTY>"
              "<PROPERTY NAME=\"Name\" TYPE=\"string\"></PROPERTY>"
              "<PROPERTY NAME=\"One\" TYPE=\"string\" EmbeddedObject=\"instance\"></PROPERTY>"
              "<PROPERTY.ARRAY NAME=\"Many\" TYPE=\"string\" EmbeddedObject=\"instance\">"
              "</PROPERTY.ARRAY></INSTANCE>",
              Write(object, "Outer"));
}

TEST(InstanceText, HasAnEmptyArrayThatIsNotNull) {
    IWbemClassObject object;
    object.Put("Children", CWbemObjectArray());
    EXPECT_EQ("<INSTANCE CLASSNAME=\"Node\"><PROPERTY.ARRAY NAME=\"Children\" TYPE=\"string\" "
              "EmbeddedObject=\"instance\"><VALUE.ARRAY></VALUE.ARRAY></PROPERTY.ARRAY></INSTANCE>",
              Write(object, "Node"));
}

// A node with others below it, so deep.
CWbemObjectPtr NestedObject(std::size_t depth) {
    CWbemObjectArray children;
    if (depth > 1) {
        children.push_back(NestedObject(depth - 1));
    }
    auto node = std::make_unique<IWbemClassObject>("Node");
    node->Put("Children", std::move(children));
    return node;
}

TEST(InstanceText, IsRefusedBeyondTheDepthThatIsRead) {
    EXPECT_EQ("<INSTANCE", Write(*NestedObject(4), "Node").substr(0, 9));
    EXPECT_EQ("objects are embedded deeper than 4", Write(*NestedObject(5), "Node"));
}

TEST(InstanceText, IsRefusedForAnObjectThatIsNotOfItsClass) {
    IWbemClassObject object("Outer");
    EXPECT_EQ("there is no class \"Unheard\"", Write(object, "Unheard"));
    EXPECT_EQ("an object is of the class \"Outer\" instead of Inner", Write(object, "Inner"));
    object.Put("Count", std::int32_t{1});
    EXPECT_EQ("Outer.Count is not of its class's type", Write(object, "Outer"));
    object.Put("Count", {});
    object.Put("One", std::make_unique<IWbemClassObject>("Outer"));
    EXPECT_EQ("an object is of the class \"Outer\" instead of Inner", Write(object, "Outer"));
}

} // namespace

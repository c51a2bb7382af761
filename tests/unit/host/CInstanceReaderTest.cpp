#include "host/CInstanceReader.h"

#include "host/CimText.h"
#include "tests/support/TableTest.h"
#include "tests/unit/host/ObjectDump.h"
#include "tests/unit/host/SampleClasses.h"

#include <vector>

using std::string;

namespace {

// ---- Texts by their pieces ----

string Property(const string& name, const string& type, const string& content,
                const string& attributes = "") {
    return "<PROPERTY NAME=\"" + name + "\" TYPE=\"" + type + "\"" + attributes + ">" + content +
           "</PROPERTY>";
}

string Value(const string& text) {
    return "<VALUE>" + text + "</VALUE>";
}

string Array(const string& content, const string& attributes = "") {
    return "<PROPERTY.ARRAY NAME=\"Many\" TYPE=\"string\"" + attributes + ">" + content +
           "</PROPERTY.ARRAY>";
}

string Instance(const string& className, const string& content) {
    return "<INSTANCE CLASSNAME=\"" + className + "\">" + content + "</INSTANCE>";
}

string Inner(const string& name, const string& level) {
    return Instance("Inner", Property("Name", "string", Value(name)) +
                                 Property("Level", "sint32", Value(level)));
}

string Embedded(const string& text) {
    return Value(cim::EscapeText(text));
}

const string kFlag = Property("Flag", "boolean", Value("TRUE"));
const string kCount = Property("Count", "uint32", Value("5"));
const string kLevel = Property("Level", "sint32", Value("-5"));
const string kName = Property("Name", "string", Value("n"));
const string kOne = Property("One", "string", Embedded(Inner("a", "1")));
const string kMany = Array("<VALUE.ARRAY>" + Embedded(Inner("b", "2")) + "</VALUE.ARRAY>");
const string kAll = kFlag + kCount + kLevel + kName + kOne + kMany;

const string kAllRead = "Outer{Flag=bool 1,Count=uint32 5,Level=sint32 -5,Name=\"n\","
                        "One=Inner{Name=\"a\",Level=sint32 1},"
                        "Many=[Inner{Name=\"b\",Level=sint32 2}]}";

string Replaced(string text, const string& what, const string& by) {
    const string::size_type at = text.find(what);
    return at == string::npos ? "there is no " + what : text.replace(at, what.size(), by);
}

// An instance of Outer with another text for one of its properties.
string Outer(const string& property, const string& by) {
    return Instance("Outer", Replaced(kAll, property, by));
}

// What is read, or the error.
string Read(const string& className, const string& text) {
    const CInstanceReader reader(SampleClasses());
    string error;
    const auto object = reader.Read(className, text, &error);
    EXPECT_EQ(object == nullptr, !error.empty());
    return object == nullptr ? error : Dump(*object);
}

// ---- What is read ----

struct GoodInstanceRow {
    string name;
    string text;
    string expected = kAllRead;
};
std::ostream& operator<<(std::ostream& out, const GoodInstanceRow& row) {
    return out << row.text;
}

class GoodInstance : public testing::TestWithParam<GoodInstanceRow> {};

TEST_P(GoodInstance, BecomesAnObject) {
    EXPECT_EQ(GetParam().expected, Read("Outer", GetParam().text));
}

string ReadWith(const string& what, const string& by) {
    return Replaced(kAllRead, what, by);
}

const string kQualifiers =
    "<QUALIFIER NAME=\"Key\" TYPE=\"boolean\" PROPAGATED=\"true\" OVERRIDABLE=\"false\" "
    "TOSUBCLASS=\"true\" TOINSTANCE=\"false\" TRANSLATABLE=\"true\" xml:lang=\"en\">"
    "<VALUE>TRUE</VALUE></QUALIFIER><QUALIFIER NAME=\"Names\" TYPE=\"string\"><VALUE.ARRAY>"
    "<VALUE>a</VALUE><VALUE.NULL></VALUE.NULL></VALUE.ARRAY></QUALIFIER>"
    "<QUALIFIER NAME=\"None\" TYPE=\"real64\"/>";
const string kAttributes = " CLASSORIGIN=\"Other\" PROPAGATED=\"true\" xml:lang=\"de\"";

INSTANTIATE_TEST_SUITE_P(
    Shapes, GoodInstance,
    testing::Values(
        GoodInstanceRow{"Plain", Instance("Outer", kAll)},
        GoodInstanceRow{"AnotherOrder",
                        Instance("Outer", kMany + kOne + kName + kLevel + kCount + kFlag)},
        GoodInstanceRow{"NamesInAnotherCase",
                        Instance("oUTER", Replaced(Replaced(kAll, "\"Flag\"", "\"fLAG\""),
                                                   "\"Many\"", "\"MANY\""))},
        GoodInstanceRow{
            "EmbeddedNamesInAnotherCase",
            Outer(kOne, Property("ONE", "string",
                                 Embedded(Instance("INNER",
                                                   Property("LEVEL", "sint32", Value("1")) +
                                                       Property("name", "string", Value("a"))))))},
        GoodInstanceRow{"BlanksAndComments", " \r\n\t<!-- a --><INSTANCE CLASSNAME = 'Outer' >\n" +
                                                 kAll + "<!-- b --> \t\r\n</INSTANCE><!-- c -->\n"},
        GoodInstanceRow{"Declaration",
                        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n" + Instance("Outer", kAll)},
        GoodInstanceRow{"DeclarationBehindBlanks",
                        "\n  <?xml version=\"1.0\"?>" + Instance("Outer", kAll)},
        GoodInstanceRow{"ByteOrderMark", "\xEF\xBB\xBF" + Instance("Outer", kAll)},
        GoodInstanceRow{"DeclarationInTheEmbedded",
                        Outer(kOne, Property("One", "string",
                                             Embedded("\n <?xml version=\"1.0\"?><!-- c -->\n" +
                                                      Inner("a", "1") + "\n")))},
        GoodInstanceRow{
            "CData",
            Outer(kOne, Property("One", "string", Value("<![CDATA[" + Inner("a", "1") + "]]>")))},
        GoodInstanceRow{
            "QuotesEscaped",
            Outer(kOne, Property("One", "string", Value(cim::EscapeAttribute(Inner("a", "1")))))},
        GoodInstanceRow{
            "Qualifiers",
            Instance("Outer", kQualifiers + Replaced(Replaced(kAll, "<VALUE.ARRAY>",
                                                              kQualifiers + "<VALUE.ARRAY>"),
                                                     Value("TRUE"), kQualifiers + Value("TRUE")))},
        GoodInstanceRow{
            "Attributes",
            "<INSTANCE CLASSNAME=\"Outer\" xml:lang=\"fr\">" +
                Replaced(Replaced(kAll, kFlag,
                                  Property("Flag", "boolean", Value("TRUE"), kAttributes)),
                         "NAME=\"Many\"", "NAME=\"Many\" ARRAYSIZE=\"7\"" + kAttributes) +
                "</INSTANCE>"},
        GoodInstanceRow{"EmbeddedObjectSaysInstance",
                        Outer(" TYPE=\"string\"><VALUE>&lt;",
                              " TYPE=\"string\" EmbeddedObject=\"instance\"><VALUE>&lt;")},
        GoodInstanceRow{"EmbeddedObjectInCapitals",
                        Outer("NAME=\"Many\"", "NAME=\"Many\" EMBEDDEDOBJECT=\"object\"")},
        GoodInstanceRow{
            "EmbeddedObjectWhereTheClassHasNone",
            Outer(kName, Property("Name", "string", Value("n"), " EmbeddedObject=\"instance\""))}),
    RowName<GoodInstanceRow>);

INSTANTIATE_TEST_SUITE_P(
    Values, GoodInstance,
    testing::Values(
        GoodInstanceRow{"False", Outer("TRUE", "fAlSe"), ReadWith("bool 1", "bool 0")},
        GoodInstanceRow{"UInt32", Outer(">5<", ">4294967295<"), ReadWith("32 5", "32 4294967295")},
        GoodInstanceRow{"SInt32", Outer(">-5<", ">-2147483648<"), ReadWith("-5", "-2147483648")},
        GoodInstanceRow{"EmptyString", Outer(">n<", "><"), ReadWith("\"n\"", "\"\"")},
        GoodInstanceRow{"EmptyStringSelfClosed", Outer(Value("n"), "<VALUE/>"),
                        ReadWith("\"n\"", "\"\"")},
        GoodInstanceRow{"EncodedString", Outer(">n<", "> &lt;\\\\\\x01\\xff&#9; <"),
                        ReadWith("\"n\"", "\" <\\\x01\xFF\t \"")},
        GoodInstanceRow{"EncodedStringInTheEmbedded",
                        Outer(kOne, Property("One", "string", Embedded(Inner("\\\\x\\x0A", "1")))),
                        ReadWith("\"a\"", "\"\\x\n\"")},
        GoodInstanceRow{"EmptyArray", Outer(kMany, Array("<VALUE.ARRAY></VALUE.ARRAY>")),
                        ReadWith("[Inner{Name=\"b\",Level=sint32 2}]", "[]")},
        GoodInstanceRow{"EmptyArraySelfClosed", Outer(kMany, Array("<VALUE.ARRAY/>")),
                        ReadWith("[Inner{Name=\"b\",Level=sint32 2}]", "[]")},
        GoodInstanceRow{"ArrayOfTwo",
                        Outer(kMany, Array("<VALUE.ARRAY>\n" + Embedded(Inner("b", "2")) + "\n" +
                                           Embedded(Inner("b", "2")) + "</VALUE.ARRAY>")),
                        ReadWith("}]", "},Inner{Name=\"b\",Level=sint32 2}]")}),
    RowName<GoodInstanceRow>);

// ---- What is refused ----

struct BadInstanceRow {
    string name;
    string text;
    string expected;
};
std::ostream& operator<<(std::ostream& out, const BadInstanceRow& row) {
    return out << row.text.substr(0, 2000);
}

class BadInstance : public testing::TestWithParam<BadInstanceRow> {};

TEST_P(BadInstance, IsRefusedWithPlaceAndReason) {
    EXPECT_EQ(GetParam().expected, Read("Outer", GetParam().text));
}

const string kCut = " (a client that takes values apart at commas may have cut it there)";
const string kNoXml = "Outer: the text is not the XML of an INSTANCE element: ";

INSTANTIATE_TEST_SUITE_P(
    Texts, BadInstance,
    testing::Values(
        BadInstanceRow{
            "Empty", "",
            "Outer: the text is empty; give the text of an INSTANCE element (a client that takes "
            "values apart at commas may have lost it)"},
        BadInstanceRow{
            "Blank", " \n",
            "Outer: the text is empty; give the text of an INSTANCE element (a client that takes "
            "values apart at commas may have lost it)"},
        BadInstanceRow{"NoXml", "hello", kNoXml + "line 1, column 1: syntax error"},
        BadInstanceRow{"CutOff", "<INSTANCE CLASSNAME=\"Outer\">",
                       kNoXml + "line 1, column 29: no element found" + kCut},
        BadInstanceRow{"CutInATag", "<INSTANCE CLASSNAME=\"Ou",
                       kNoXml + "line 1, column 1: unclosed token" + kCut},
        BadInstanceRow{"EscapedTwice", cim::EscapeText(Instance("Outer", kAll)),
                       kNoXml + "line 1, column 1: not well-formed (invalid token)"},
        BadInstanceRow{"NotWellFormed", "<INSTANCE CLASSNAME=\"Outer\">\n</INSTANC>",
                       kNoXml + "line 2, column 3: mismatched tag"},
        BadInstanceRow{"DocumentType", "<!DOCTYPE INSTANCE>" + Instance("Outer", kAll),
                       kNoXml + "line 1, column 19: a document type declaration is not allowed"},
        BadInstanceRow{"NotUtf8", Outer(">n<", ">\xFF<"),
                       kNoXml + "line 1, column 268: the text is not UTF-8"},
        BadInstanceRow{
            "AnotherEncoding",
            "<?xml version=\"1.0\" encoding=\"latin1\"?>" + Instance("Outer", kAll),
            kNoXml +
                "line 1, column 1: the encoding \"latin1\" is declared, but only UTF-8 is read"},
        BadInstanceRow{"AnotherElement", "<CLASS NAME=\"Outer\"></CLASS>",
                       "Outer: the text is of an element \"CLASS\"; give one of INSTANCE"},
        BadInstanceRow{"AnotherElementOfALongName", "<" + string(61, 'x') + "/>",
                       "Outer: the text is of an element \"" + string(60, 'x') +
                           "\"...; give one of INSTANCE"},
        BadInstanceRow{"AnotherElementOfANameToBeShown", "<\xC3\x9C></\xC3\x9C>",
                       "Outer: the text is of an element \"\\xC3\\x9C\"; give one of INSTANCE"},
        BadInstanceRow{"AnotherClass", Instance("Inner", kAll),
                       "Outer: the instance is of the class \"Inner\"; give one of Outer"},
        BadInstanceRow{"AnotherEmbeddedClass",
                       Outer(kOne, Property("One", "string", Embedded(Instance("Outer", kAll)))),
                       "Inner in One: the instance is of the class \"Outer\"; give one of Inner"}),
    RowName<BadInstanceRow>);

INSTANTIATE_TEST_SUITE_P(
    Shapes, BadInstance,
    testing::Values(
        BadInstanceRow{"NoClassName", "<INSTANCE>" + kAll + "</INSTANCE>",
                       "Outer: INSTANCE has no attribute CLASSNAME"},
        BadInstanceRow{"UnknownAttribute",
                       "<INSTANCE CLASSNAME=\"Outer\" classname=\"Outer\"></INSTANCE>",
                       "Outer: INSTANCE has an attribute \"classname\", which may not be there"},
        BadInstanceRow{"Namespaces", "<INSTANCE CLASSNAME=\"Outer\" xmlns=\"urn:x\"></INSTANCE>",
                       "Outer: INSTANCE has an attribute \"xmlns\", which may not be there"},
        BadInstanceRow{"TextAmongProperties", Instance("Outer", kAll + "x"),
                       "Outer: INSTANCE holds text, which may not be there"},
        BadInstanceRow{"UnknownElement", Instance("Outer", kAll + "<METHOD NAME=\"x\"/>"),
                       "Outer: INSTANCE holds an element \"METHOD\", which may not be there"},
        BadInstanceRow{"QualifierBehindProperties", Instance("Outer", kAll + kQualifiers),
                       "Outer: INSTANCE holds an element \"QUALIFIER\", which may not be there"},
        BadInstanceRow{"QualifierWithoutName",
                       Instance("Outer", "<QUALIFIER TYPE=\"string\"/>" + kAll),
                       "Outer: QUALIFIER has no attribute NAME"},
        BadInstanceRow{"QualifierWithoutType",
                       Instance("Outer", "<QUALIFIER NAME=\"Key\"/>" + kAll),
                       "Outer: QUALIFIER has no attribute TYPE"},
        BadInstanceRow{
            "QualifierOfAnotherType",
            Instance("Outer", "<QUALIFIER NAME=\"Key\" TYPE=\"text\"/>" + kAll),
            "Outer: QUALIFIER has the attribute TYPE with the value \"text\", which is none of "
            "boolean, string, char16, uint8, sint8, uint16, sint16, uint32, sint32, uint64, "
            "sint64, datetime, real32, real64"},
        BadInstanceRow{"QualifierWithTwoValues",
                       Instance("Outer", "<QUALIFIER NAME=\"Key\" TYPE=\"string\"><VALUE>a</VALUE>"
                                         "<VALUE>b</VALUE></QUALIFIER>" +
                                             kAll),
                       "Outer: QUALIFIER holds an element \"VALUE\", which may not be there"},
        BadInstanceRow{
            "QualifierOfAProperty",
            Outer(Value("TRUE"), "<QUALIFIER NAME=\"Key\" TYPE=\"boolean\"><VALUE.ARRAY>x"
                                 "</VALUE.ARRAY></QUALIFIER>" +
                                     Value("TRUE")),
            "Outer.Flag: VALUE.ARRAY holds text, which may not be there"},
        BadInstanceRow{
            "QualifierBehindTheValue",
            Outer(Value("TRUE"), Value("TRUE") + "<QUALIFIER NAME=\"Key\" TYPE=\"boolean\"/>"),
            "Outer.Flag: PROPERTY holds an element \"QUALIFIER\", which may not be there"},
        BadInstanceRow{"PropertyWithoutName",
                       Outer(kFlag, "<PROPERTY TYPE=\"boolean\"><VALUE>TRUE</VALUE></PROPERTY>"),
                       "Outer: PROPERTY has no attribute NAME"},
        BadInstanceRow{"PropertyWithTwoValues", Outer(Value("TRUE"), Value("TRUE") + Value("TRUE")),
                       "Outer.Flag: PROPERTY holds an element \"VALUE\", which may not be there"},
        BadInstanceRow{"PropertyWithText", Outer(Value("TRUE"), "TRUE"),
                       "Outer.Flag: PROPERTY holds text, which may not be there"},
        BadInstanceRow{"UnknownAttributeOfAProperty",
                       Outer("NAME=\"Flag\"", "NAME=\"Flag\" SIZE=\"1\""),
                       "Outer.Flag: PROPERTY has an attribute \"SIZE\", which may not be there"},
        BadInstanceRow{
            "ArraySizeOfAProperty", Outer("NAME=\"Flag\"", "NAME=\"Flag\" ARRAYSIZE=\"1\""),
            "Outer.Flag: PROPERTY has an attribute \"ARRAYSIZE\", which may not be there"},
        BadInstanceRow{
            "WrongPropagated", Outer("NAME=\"Flag\"", "NAME=\"Flag\" PROPAGATED=\"TRUE\""),
            "Outer.Flag: PROPERTY has the attribute PROPAGATED with the value \"TRUE\", which is "
            "none of true, false"},
        BadInstanceRow{
            "WrongEmbeddedObject", Outer("NAME=\"One\"", "NAME=\"One\" EmbeddedObject=\"\n\""),
            "Outer.One: PROPERTY has the attribute EmbeddedObject with the value \" \", which is "
            "none of instance, object"},
        BadInstanceRow{"AttributeOfAValue",
                       Outer(Value("TRUE"), "<VALUE TYPE=\"boolean\">TRUE</VALUE>"),
                       "Outer.Flag: VALUE has an attribute \"TYPE\", which may not be there"},
        BadInstanceRow{"AttributeOfAValueBehindQualifiers",
                       Outer(Value("TRUE"), kQualifiers + "<VALUE X=\"\">TRUE</VALUE>"),
                       "Outer.Flag: VALUE has an attribute \"X\", which may not be there"},
        BadInstanceRow{
            "AttributeOfAQualifierBeforeAValue",
            Outer(Value("TRUE"), "<QUALIFIER NAME=\"Q\" TYPE=\"string\" X=\"\"/>" + Value("TRUE")),
            "Outer.Flag: QUALIFIER has an attribute \"X\", which may not be there"},
        BadInstanceRow{
            "MarkupInAValue", Outer(kOne, Property("One", "string", Value(Inner("a", "1")))),
            "Outer.One: VALUE holds an element \"INSTANCE\"; write \"<\" in a text as \"&lt;\", "
            "or the text as CDATA"},
        BadInstanceRow{
            "ArrayInAnArray", Outer("<VALUE.ARRAY>", "<VALUE.ARRAY><VALUE.ARRAY/>"),
            "Outer.Many: VALUE.ARRAY holds an element \"VALUE.ARRAY\", which may not be there"},
        BadInstanceRow{"NullWithAText",
                       Outer("<VALUE.ARRAY>", "<VALUE.ARRAY><VALUE.NULL>x</VALUE.NULL>"),
                       "Outer.Many: VALUE.NULL holds text, which may not be there"}),
    RowName<BadInstanceRow>);

INSTANTIATE_TEST_SUITE_P(
    Properties, BadInstance,
    testing::Values(
        BadInstanceRow{"Missing", Outer(kLevel, ""),
                       "Outer.Level: is missing; give every property of the class"},
        BadInstanceRow{"MissingInTheEmbedded",
                       Outer(kOne, Property("One", "string", Embedded(Instance("Inner", "")))),
                       "Inner.Name in One: is missing; give every property of the class"},
        BadInstanceRow{"MissingBehindAnEmbedded", Outer(kMany, ""),
                       "Outer.Many: is missing; give every property of the class"},
        BadInstanceRow{"Unknown", Outer(kLevel, Property("Lev\xC3\xA9l", "sint32", Value("1"))),
                       "Outer: the class has no property \"Lev\\xC3\\xA9l\"; leave it out"},
        BadInstanceRow{"UnknownReference",
                       Outer(kLevel, "<PROPERTY.REFERENCE NAME=\"Else\"></PROPERTY.REFERENCE>"),
                       "Outer: the class has no property \"Else\"; leave it out"},
        BadInstanceRow{"Twice", Outer(kLevel, kLevel + kLevel),
                       "Outer.Level: is given twice; give it once"},
        BadInstanceRow{"TwiceInAnotherCase",
                       Outer(kMany, kMany + Property("ONE", "string", Value(""))),
                       "Outer.One: is given twice; give it once"},
        BadInstanceRow{"Null", Outer(Value("-5"), ""), "Outer.Level: is NULL; give a VALUE"},
        BadInstanceRow{"NullString", Outer(kName, "<PROPERTY NAME=\"Name\" TYPE=\"string\"/>"),
                       "Outer.Name: is NULL; give a VALUE"},
        BadInstanceRow{"NullWithAQualifier", Outer(Value("-5"), kQualifiers),
                       "Outer.Level: is NULL; give a VALUE"},
        BadInstanceRow{"NullEmbedded", Outer(kOne, Property("One", "string", "")),
                       "Outer.One: is NULL; give a VALUE"},
        BadInstanceRow{"NullArray", Outer(kMany, Array("")),
                       "Outer.Many: is NULL; give an array, which may be an empty VALUE.ARRAY"},
        BadInstanceRow{"NullEntry", Outer("</VALUE.ARRAY>", "<VALUE.NULL/></VALUE.ARRAY>"),
                       "Outer.Many: the entry [1] is NULL; give it a VALUE, or leave it out"},
        BadInstanceRow{
            "NullInAnEntry",
            Outer("</VALUE.ARRAY>",
                  Embedded(Instance("Inner", Property("Name", "string", ""))) + "</VALUE.ARRAY>"),
            "Inner.Name in Many[1]: is NULL; give a VALUE"},
        BadInstanceRow{"NoType", Outer("NAME=\"Flag\" TYPE=\"boolean\"", "NAME=\"Flag\""),
                       "Outer.Flag: has no TYPE; give it as boolean"},
        BadInstanceRow{"AnotherType", Outer("\"uint32\"", "\"uint64\""),
                       "Outer.Count: has the TYPE \"uint64\"; give it as uint32"},
        BadInstanceRow{"TypeInAnotherCase", Outer("\"boolean\"", "\"Boolean\""),
                       "Outer.Flag: has the TYPE \"Boolean\"; give it as boolean"},
        BadInstanceRow{"AnotherTypeOfTheEmbedded",
                       Outer(kOne, Property("One", "instance", Value(""))),
                       "Outer.One: has the TYPE \"instance\"; give it as string"},
        BadInstanceRow{"ArrayInAScalarsPlace",
                       Outer(kName, "<PROPERTY.ARRAY NAME=\"Name\" TYPE=\"string\"><VALUE.ARRAY/>"
                                    "</PROPERTY.ARRAY>"),
                       "Outer.Name: is given as PROPERTY.ARRAY; give it as PROPERTY"},
        BadInstanceRow{"ScalarInAnArraysPlace",
                       Outer(kMany, Property("Many", "string", Value("x"))),
                       "Outer.Many: is given as PROPERTY; give it as PROPERTY.ARRAY"},
        BadInstanceRow{"ReferenceInAScalarsPlace",
                       Outer(kName, "<PROPERTY.REFERENCE NAME=\"Name\"/>"),
                       "Outer.Name: is given as PROPERTY.REFERENCE; give it as PROPERTY"}),
    RowName<BadInstanceRow>);

const string kWrongBackslash =
    " has a backslash that begins neither \\\\ nor \\xHH (a byte other than 00); give a backslash "
    "as \\\\";

INSTANTIATE_TEST_SUITE_P(
    Values, BadInstance,
    testing::Values(
        BadInstanceRow{"Boolean", Outer("TRUE", "1"),
                       "Outer.Flag: the value \"1\" is no boolean; give TRUE or FALSE"},
        BadInstanceRow{"EmptyBoolean", Outer("TRUE", ""),
                       "Outer.Flag: the value \"\" is no boolean; give TRUE or FALSE"},
        BadInstanceRow{
            "UInt32", Outer(">5<", ">4294967296<"),
            "Outer.Count: the value \"4294967296\" is no uint32; give decimal digits, from 0 to "
            "4294967295"},
        BadInstanceRow{"SInt32", Outer(">-5<", ">\n1<"),
                       "Outer.Level: the value \"\\x0A1\" is no sint32; give decimal digits, from "
                       "-2147483648 to 2147483647"},
        BadInstanceRow{"String", Outer(">n<", ">C:\\temp<"),
                       "Outer.Name: the value \"C:\\temp\"" + kWrongBackslash},
        BadInstanceRow{"LongString", Outer(">n<", ">" + string(61, 'n') + "\\<"),
                       "Outer.Name: the value \"" + string(60, 'n') + "\"..." + kWrongBackslash},
        BadInstanceRow{"ZeroByte", Outer(">n<", ">\\x00<"),
                       "Outer.Name: the value \"\\x00\"" + kWrongBackslash},
        BadInstanceRow{
            "Embedded", Outer(kOne, Property("One", "string", Value("a,b"))),
            "Inner in One: the text is not the XML of an INSTANCE element: line 1, column 1: "
            "syntax error"},
        BadInstanceRow{
            "EmptyEmbedded", Outer(kOne, Property("One", "string", "<VALUE/>")),
            "Inner in One: the text is empty; give the text of an INSTANCE element (a client "
            "that takes values apart at commas may have lost it)"},
        BadInstanceRow{
            "InTheEmbedded", Outer(kOne, Property("One", "string", Embedded(Inner("a", "x")))),
            "Inner.Level in One: the value \"x\" is no sint32; give decimal digits, from "
            "-2147483648 to 2147483647"},
        BadInstanceRow{
            "InAnEntry", Outer(";2&", ";x&"),
            "Inner.Level in Many[0]: the value \"x\" is no sint32; give decimal digits, from "
            "-2147483648 to 2147483647"}),
    RowName<BadInstanceRow>);

// ---- Depth, limits, parameters ----

// A node with others below it, so deep.
string NestedNode(std::size_t depth) {
    const string children = depth == 1 ? "" : Embedded(NestedNode(depth - 1));
    return Instance("Node", "<PROPERTY.ARRAY NAME=\"Children\" TYPE=\"string\"><VALUE.ARRAY>" +
                                children + "</VALUE.ARRAY></PROPERTY.ARRAY>");
}

TEST(NestedInstances, AreReadToTheirDepth) {
    EXPECT_EQ("Node{Children=[Node{Children=[Node{Children=[Node{Children=[]}]}]}]}",
              Read("Node", NestedNode(4)));
    EXPECT_EQ("Node in Children[0].Children[0].Children[0].Children[0]: instances are embedded "
              "deeper than 4",
              Read("Node", NestedNode(5)));
}

TEST(NestedInstances, CountTheDepthOfEachTextAlone) {
    const string two = Embedded(NestedNode(3)) + Embedded(NestedNode(3));
    EXPECT_EQ("Node{Children=[Node{Children=[Node{Children=[Node{Children=[]}]}]},"
              "Node{Children=[Node{Children=[Node{Children=[]}]}]}]}",
              Read("Node", Replaced(NestedNode(1), "<VALUE.ARRAY>", "<VALUE.ARRAY>" + two)));
}

TEST(InstancesOfStrangers, AreLimited) {
    string attributes;
    for (int i = 0; i < 65; ++i) {
        attributes += " x" + std::to_string(i) + "=''";
    }
    EXPECT_EQ(kNoXml + "line 1, column 1: an element has more than 64 attributes",
              Read("Outer", "<INSTANCE" + attributes + "></INSTANCE>"));
    EXPECT_EQ(kNoXml + "line 1, column 27: there is more than one element for 8 bytes of text",
              Read("Outer", "<INSTANCE><a/><a/><a/><a/><a/></INSTANCE>"));
}

TEST(InstanceOfAnUnknownClass, IsRefused) {
    EXPECT_EQ("Unheard: there is no such class", Read("Unheard", Instance("Unheard", "")));
}

TEST(ParameterOfAnInstance, IsNamedInErrors) {
    const CInstanceReader reader(SampleClasses());
    CCimParameter parameter;
    parameter.m_sName = "Conf";
    parameter.m_type = WbemType::Object;
    parameter.m_sEmbeddedClass = "Outer";
    string error = "an earlier one";
    const auto object = reader.ReadParameter(parameter, Instance("Outer", kAll), &error);
    ASSERT_NE(nullptr, object) << error;
    EXPECT_EQ(kAllRead, Dump(*object));
    EXPECT_EQ("", error);
    EXPECT_EQ(nullptr, reader.ReadParameter(parameter, Outer(";2&", ";x&"), &error));
    EXPECT_EQ("Inner.Level in Conf.Many[0]: the value \"x\" is no sint32; give decimal digits, "
              "from -2147483648 to 2147483647",
              error);
    EXPECT_EQ(nullptr, reader.ReadParameter(parameter, Outer(">5<", ">x<"), &error));
    EXPECT_EQ("Outer.Count in Conf: the value \"x\" is no uint32; give decimal digits, from 0 to "
              "4294967295",
              error);
}

} // namespace

#include "host/CCimXmlReader.h"

#include "tests/support/CTempFile.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/TableTest.h"

using std::string;

namespace {

const char kSchemaFile[] = KZM_TEST_SCHEMA "/VELTARO_ToolServiceLogger.xml";

string Declare(const string& objects) {
    return "<CIM CIMVERSION='2.0' DTDVERSION='2.0'><DECLARATION><DECLGROUP>\n" + objects +
           "\n</DECLGROUP></DECLARATION></CIM>";
}

// A class C with this content, on line 2 of a good text.
string InClass(const string& content) {
    return Declare("<VALUE.OBJECT><CLASS NAME='C'>" + content + "</CLASS></VALUE.OBJECT>");
}

string InMethod(const string& content) {
    return InClass("<METHOD NAME='M' TYPE='uint32'>" + content + "</METHOD>");
}

string Qualifier(const string& name, const string& type, const string& value) {
    return "<QUALIFIER NAME='" + name + "' TYPE='" + type + "'><VALUE>" + value +
           "</VALUE></QUALIFIER>";
}

string Element(const string& tag, const string& type, const string& content) {
    return "<" + tag + " NAME='P' TYPE='" + type + "'>" + content + "</" + tag + ">";
}

// As in: [In=true] 4:P->C, with the number of the type.
string Dump(const CCimProperty& property) {
    string text;
    for (const CCimQualifier& qualifier : property.m_qualifiers) {
        text += "[" + qualifier.m_sName + "=";
        for (const string& value : qualifier.m_values) {
            text += value + (qualifier.m_bArray ? "," : "");
        }
        text += "] ";
    }
    text += std::to_string(static_cast<int>(property.m_type)) + ":" + property.m_sName;
    return text + (property.m_sEmbeddedClass.empty() ? "" : "->" + property.m_sEmbeddedClass);
}

// ---- What is understood ----

struct PropertyRow {
    string name;
    string text;
    string expected;
};
std::ostream& operator<<(std::ostream& out, const PropertyRow& row) {
    return out << row.text;
}

class GoodProperty : public testing::TestWithParam<PropertyRow> {};

TEST_P(GoodProperty, IsRead) {
    string error;
    const auto classes = CCimXmlReader::Read(InClass(GetParam().text), &error);
    ASSERT_TRUE(classes) << error;
    ASSERT_EQ(1U, classes->size());
    ASSERT_EQ(1U, classes->front().m_properties.size());
    EXPECT_EQ(GetParam().expected, Dump(classes->front().m_properties.front()));
}

const string kEmbedded = Qualifier("EmbeddedInstance", "string", "C");
const char kValues[] = "<QUALIFIER NAME='Values' TYPE='string'><VALUE.ARRAY><VALUE>a</VALUE>"
                       "<VALUE>b</VALUE></VALUE.ARRAY></QUALIFIER>";

INSTANTIATE_TEST_SUITE_P(
    Types, GoodProperty,
    testing::Values(PropertyRow{"Boolean", Element("PROPERTY", "boolean", ""), "1:P"},
                    PropertyRow{"Unsigned", Element("PROPERTY", "uint32", ""), "2:P"},
                    PropertyRow{"Signed", Element("PROPERTY", "sint32", ""), "3:P"},
                    PropertyRow{"Text", Element("PROPERTY", "string", ""), "4:P"},
                    PropertyRow{"Embedded", Element("PROPERTY", "string", kEmbedded),
                                "[EmbeddedInstance=C] 5:P->C"},
                    PropertyRow{"EmbeddedArray", Element("PROPERTY.ARRAY", "string", kEmbedded),
                                "[EmbeddedInstance=C] 6:P->C"},
                    PropertyRow{
                        "QualifierNamesIgnoreCase",
                        Element("PROPERTY", "string", Qualifier("EMBEDDEDINSTANCE", "string", "C")),
                        "[EMBEDDEDINSTANCE=C] 5:P->C"}),
    RowName<PropertyRow>);

INSTANTIATE_TEST_SUITE_P(
    Qualifiers, GoodProperty,
    testing::Values(
        PropertyRow{"Key", Element("PROPERTY", "string", Qualifier("Key", "boolean", "TRUE")),
                    "[Key=true] 4:P"},
        PropertyRow{"NumbersAndTexts",
                    Element("PROPERTY", "sint32",
                            Qualifier("Max", "uint32", "4294967295") +
                                Qualifier("Min", "sint32", "-2147483648") +
                                Qualifier("Description", "string", " one\n two ")),
                    "[Max=4294967295] [Min=-2147483648] [Description= one\n two ] 3:P"},
        PropertyRow{"Array", Element("PROPERTY", "string", kValues), "[Values=a,b,] 4:P"}),
    RowName<PropertyRow>);

struct ParameterRow {
    string name;
    string qualifiers;
    bool isIn;
    bool isOut;
};
std::ostream& operator<<(std::ostream& out, const ParameterRow& row) {
    return out << row.qualifiers;
}

class ParameterDirection : public testing::TestWithParam<ParameterRow> {};

TEST_P(ParameterDirection, ComesFromTheQualifiers) {
    string error;
    const auto classes = CCimXmlReader::Read(
        InMethod(Element("PARAMETER", "uint32", GetParam().qualifiers)), &error);
    ASSERT_TRUE(classes) << error;
    const CCimParameter& parameter = classes->at(0).m_methods.at(0).m_parameters.at(0);
    EXPECT_EQ(GetParam().isIn, parameter.m_bIn);
    EXPECT_EQ(GetParam().isOut, parameter.m_bOut);
}

INSTANTIATE_TEST_SUITE_P(
    Qualifiers, ParameterDirection,
    testing::Values(
        ParameterRow{"None", "", true, false},
        ParameterRow{"In", Qualifier("In", "boolean", "true"), true, false},
        ParameterRow{"Both", Qualifier("OUT", "boolean", "TRUE"), true, true},
        ParameterRow{"NameThatBeginsAlike",
                     Qualifier("Inner", "boolean", "FALSE") + Qualifier("I", "boolean", "FALSE"),
                     true, false},
        ParameterRow{"OnlyOut",
                     Qualifier("In", "boolean", "FALSE") + Qualifier("Out", "boolean", "TRUE"),
                     false, true}),
    RowName<ParameterRow>);

TEST(CimXml, KeepsTheOrderOfClassesAndTakesNamedObjects) {
    string error;
    const auto classes = CCimXmlReader::Read(
        Declare("<VALUE.OBJECT><CLASS NAME='Z'/></VALUE.OBJECT>"
                "<VALUE.NAMEDOBJECT><CLASS NAME='A'><METHOD NAME='M' TYPE='boolean'/></CLASS>"
                "</VALUE.NAMEDOBJECT>"),
        &error);
    ASSERT_TRUE(classes) << error;
    ASSERT_EQ(2U, classes->size());
    EXPECT_EQ("Z", classes->at(0).m_sName);
    EXPECT_EQ("A", classes->at(1).m_sName);
    EXPECT_EQ(WbemType::Boolean, classes->at(1).m_methods.at(0).m_returnType);
}

// ---- What is refused ----

struct ErrorRow {
    string name;
    string text;
    string error;
};
std::ostream& operator<<(std::ostream& out, const ErrorRow& row) {
    return out << row.text;
}

class BadCimXml : public testing::TestWithParam<ErrorRow> {};

TEST_P(BadCimXml, IsRefusedWithPlaceAndReason) {
    string error;
    EXPECT_FALSE(CCimXmlReader::Read(GetParam().text, &error));
    EXPECT_EQ(GetParam().error, error);
}

INSTANTIATE_TEST_SUITE_P(
    Structure, BadCimXml,
    testing::Values(
        ErrorRow{"NotXml", "<CIM>", "line 1, column 6: no element found"},
        ErrorRow{"OtherRoot", "<CLASS NAME='C'/>",
                 "line 1: CLASS \"C\" is not the CIM element that class definitions begin with"},
        ErrorRow{"Message", "<CIM><MESSAGE/></CIM>",
                 "line 1: MESSAGE is not understood inside CIM"},
        ErrorRow{"UnknownGroup", "<CIM><DECLARATION><DECLGROUP.WITHPATH/></DECLARATION></CIM>",
                 "line 1: DECLGROUP.WITHPATH is not understood inside DECLARATION"},
        ErrorRow{"UnknownObject", Declare("<INSTANCE/>"),
                 "line 2: INSTANCE is not understood inside DECLGROUP"},
        ErrorRow{"Instance", Declare("<VALUE.OBJECT><INSTANCE/></VALUE.OBJECT>"),
                 "line 2: INSTANCE is not understood inside VALUE.OBJECT"},
        ErrorRow{"StrayText", InClass("text"),
                 "line 2: CLASS \"C\" holds text where only elements are expected"},
        ErrorRow{"StrayTextBehindBlanks", InClass("\n  text"),
                 "line 2: CLASS \"C\" holds text where only elements are expected"},
        ErrorRow{"Superclass",
                 Declare("<VALUE.OBJECT><CLASS NAME='C' SUPERCLASS='B'/>"
                         "</VALUE.OBJECT>"),
                 "line 2: CLASS \"C\" has an attribute SUPERCLASS that is not understood"},
        ErrorRow{"ClassTwice",
                 Declare("<VALUE.OBJECT><CLASS NAME='C'/><CLASS NAME='c'/>"
                         "</VALUE.OBJECT>"),
                 "line 2: CLASS \"c\" is given twice"},
        ErrorRow{"ErrorAfterAClass", Declare("<VALUE.OBJECT><CLASS NAME='C'/><X/></VALUE.OBJECT>"),
                 "line 2: X is not understood inside VALUE.OBJECT"},
        ErrorRow{"LineIsTheElementsOwn", InClass("\n\n<PROPERTY.REFERENCE NAME='R'/>"),
                 "line 4: PROPERTY.REFERENCE \"R\" in class C is not understood inside CLASS"}),
    RowName<ErrorRow>);

INSTANTIATE_TEST_SUITE_P(
    Names, BadCimXml,
    testing::Values(
        ErrorRow{"ClassWithoutName", Declare("<VALUE.OBJECT><CLASS/></VALUE.OBJECT>"),
                 "line 2: CLASS has no attribute NAME"},
        ErrorRow{"EmptyName", InClass("<PROPERTY NAME='' TYPE='string'/>"),
                 "line 2: PROPERTY \"\" in class C has a name that is not made of letters, digits "
                 "and '_'"},
        ErrorRow{"NameWithBlank", InClass("<METHOD NAME='a b' TYPE='uint32'/>"),
                 "line 2: METHOD \"a b\" in class C has a name that is not made of letters, digits "
                 "and '_'"},
        ErrorRow{"NameWithHyphen", InClass("<METHOD NAME='a-b' TYPE='uint32'/>"),
                 "line 2: METHOD \"a-b\" in class C has a name that is not made of letters, digits "
                 "and '_'"},
        ErrorRow{"NameWithDigitFirst", InClass("<METHOD NAME='1a' TYPE='uint32'/>"),
                 "line 2: METHOD \"1a\" in class C has a name that is not made of letters, digits "
                 "and '_'"},
        ErrorRow{"PropertyTwice",
                 InClass(Element("PROPERTY", "string", "") + Element("PROPERTY", "uint32", "")),
                 "line 2: PROPERTY \"P\" in class C is given twice"},
        ErrorRow{"MethodTwice",
                 InClass("<METHOD NAME='M' TYPE='uint32'/><METHOD NAME='M' TYPE='uint32'/>"),
                 "line 2: METHOD \"M\" in class C is given twice"},
        ErrorRow{"ParameterTwice",
                 InMethod(Element("PARAMETER", "string", "") + Element("PARAMETER", "string", "")),
                 "line 2: PARAMETER \"P\" in class C is given twice"},
        ErrorRow{"QualifierTwice",
                 InClass(Qualifier("Q", "string", "1") + Qualifier("q", "string", "2")),
                 "line 2: QUALIFIER \"q\" in class C is given twice"}),
    RowName<ErrorRow>);

INSTANTIATE_TEST_SUITE_P(
    Types, BadCimXml,
    testing::Values(
        ErrorRow{"UnknownType", InClass(Element("PROPERTY", "uint16", "")),
                 "line 2: PROPERTY \"P\" in class C has the type \"uint16\", which is not one of "
                 "boolean, uint32, sint32, string"},
        ErrorRow{"TypeOfTwoLines", InClass("<PROPERTY NAME='P' TYPE='a&#10;b'/>"),
                 "line 2: PROPERTY \"P\" in class C has the type \"a\\x0Ab\", which is not one of "
                 "boolean, uint32, sint32, string"},
        ErrorRow{
            "TypeThatSteersATerminal", InClass("<PROPERTY NAME='P' TYPE='&#x9B;2J'/>"),
            "line 2: PROPERTY \"P\" in class C has the type \"\\xC2\\x9B2J\", which is not one "
            "of boolean, uint32, sint32, string"},
        ErrorRow{"NoType", InClass("<PROPERTY NAME='P'/>"),
                 "line 2: PROPERTY \"P\" in class C has no attribute TYPE"},
        ErrorRow{"MethodWithoutType", InClass("<METHOD NAME='M'/>"),
                 "line 2: METHOD \"M\" in class C has no attribute TYPE"},
        ErrorRow{"UnknownAttribute", InClass("<PROPERTY NAME='P' TYPE='string' ARRAYSIZE='3'/>"),
                 "line 2: PROPERTY \"P\" in class C has an attribute ARRAYSIZE that is not "
                 "understood"},
        ErrorRow{"DefaultValue", InClass(Element("PROPERTY", "string", "<VALUE>1</VALUE>")),
                 "line 2: VALUE in class C is not understood inside PROPERTY"},
        ErrorRow{"ArrayOfTexts", InClass(Element("PROPERTY.ARRAY", "string", "")),
                 "line 2: PROPERTY.ARRAY \"P\" in class C is an array without an EmbeddedInstance "
                 "qualifier; only arrays of embedded instances are supported"},
        ErrorRow{"EmbeddedNumber", InClass(Element("PROPERTY", "uint32", kEmbedded)),
                 "line 2: PROPERTY \"P\" in class C has an EmbeddedInstance qualifier, so its type "
                 "must be string"},
        ErrorRow{"EmbeddedIsNoText",
                 InClass(Element("PROPERTY", "string",
                                 Qualifier("EmbeddedInstance", "boolean", "true"))),
                 "line 2: PROPERTY \"P\" in class C has an EmbeddedInstance qualifier that is not "
                 "one string"},
        ErrorRow{
            "EmbeddedUnknown",
            InClass(Element("PROPERTY", "string", Qualifier("EmbeddedInstance", "string", "D"))),
            "\"P\" in class C embeds the class \"D\", which is not defined"},
        ErrorRow{"ParameterEmbedsUnknown",
                 InMethod(Element("PARAMETER.ARRAY", "string",
                                  Qualifier("EmbeddedInstance", "string", "c"))),
                 "\"P\" in class C embeds the class \"c\", which is not defined"}),
    RowName<ErrorRow>);

INSTANTIATE_TEST_SUITE_P(
    Qualifiers, BadCimXml,
    testing::Values(
        ErrorRow{"NoValue", InClass("<QUALIFIER NAME='Q' TYPE='string'/>"),
                 "line 2: QUALIFIER \"Q\" in class C must hold exactly one VALUE or one "
                 "VALUE.ARRAY"},
        ErrorRow{"TwoValues",
                 InClass("<QUALIFIER NAME='Q' TYPE='string'><VALUE/><VALUE/></QUALIFIER>"),
                 "line 2: QUALIFIER \"Q\" in class C must hold exactly one VALUE or one "
                 "VALUE.ARRAY"},
        ErrorRow{"ValueAndArray",
                 InClass("<QUALIFIER NAME='Q' TYPE='string'><VALUE/><VALUE.ARRAY/></QUALIFIER>"),
                 "line 2: QUALIFIER \"Q\" in class C must hold exactly one VALUE or one "
                 "VALUE.ARRAY"},
        ErrorRow{"ValueWithAttribute",
                 InClass("<QUALIFIER NAME='Q' TYPE='string'><VALUE X='1'/></QUALIFIER>"),
                 "line 2: VALUE in class C has an attribute X that is not understood"},
        ErrorRow{"NoBoolean", InClass(Qualifier("Q", "boolean", "yes")),
                 "line 2: VALUE in class C holds \"yes\", which is not of the type of the "
                 "qualifier \"Q\""},
        ErrorRow{"NegativeUnsigned", InClass(Qualifier("Q", "uint32", "-1")),
                 "line 2: VALUE in class C holds \"-1\", which is not of the type of the qualifier "
                 "\"Q\""},
        ErrorRow{"TooLargeSigned", InClass(Qualifier("Q", "sint32", "2147483648")),
                 "line 2: VALUE in class C holds \"2147483648\", which is not of the type of the "
                 "qualifier \"Q\""},
        ErrorRow{"TrailingText", InClass(Qualifier("Q", "uint32", "12a")),
                 "line 2: VALUE in class C holds \"12a\", which is not of the type of the "
                 "qualifier \"Q\""},
        ErrorRow{"ElementInValue", InClass(Qualifier("Q", "string", "<b/>")),
                 "line 2: b in class C is not understood inside VALUE"},
        ErrorRow{"InIsNoBoolean",
                 InMethod(Element("PARAMETER", "string", Qualifier("In", "string", "true"))),
                 "line 2: PARAMETER \"P\" in class C has a qualifier \"In\" that is not one "
                 "boolean"},
        ErrorRow{"NeitherInNorOut",
                 InMethod(Element("PARAMETER", "string", Qualifier("In", "boolean", "false"))),
                 "line 2: PARAMETER \"P\" in class C is neither an in- nor an out-parameter"}),
    RowName<ErrorRow>);

// ---- Files ----

TEST(CimXmlFile, MissingIsNamed) {
    string error;
    EXPECT_FALSE(CCimXmlReader::ReadFile("/no/such.xml", &error));
    EXPECT_EQ("/no/such.xml: cannot be read: No such file or directory", error);
}

TEST(CimXmlFile, BrokenIsNamedWithThePlace) {
    const CTempFile file("<CIM>\n</DECLARATION>");
    string error;
    EXPECT_FALSE(CCimXmlReader::ReadFile(file.Path(), &error));
    EXPECT_EQ(file.Path() + ": line 2, column 3: mismatched tag", error);
}

TEST(CimXmlFile, TruncatedIsRefused) {
    const string text = ReadFile(kSchemaFile);
    const std::size_t end = text.rfind('>') + 1;
    for (std::size_t length = 0; length < end; length += 61) {
        SCOPED_TRACE(length);
        string error;
        EXPECT_FALSE(CCimXmlReader::Read(text.substr(0, length), &error));
        EXPECT_NE("", error);
    }
}

} // namespace

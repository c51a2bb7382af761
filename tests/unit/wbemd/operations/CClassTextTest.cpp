#include "wbemd/cimxml/CClassText.h"

#include <gtest/gtest.h>

using std::string;
using wbemd::CClassText;

namespace {

// What the product's own classes do not have.
CCimClass Unusual() {
    CCimParameter list;
    list.m_sName = "List";
    list.m_type = WbemType::ObjectArray;
    list.m_qualifiers = {{"Level", WbemType::SInt32, false, {"-1"}}};
    CCimMethod method;
    method.m_sName = "Do";
    method.m_returnType = WbemType::Boolean;
    method.m_parameters = {list};
    method.m_qualifiers = {{"Static", WbemType::Boolean, false, {"false"}},
                           {"Empty", WbemType::String, true, {}},
                           {"Text", WbemType::String, true, {"a<b>&\"c\"", ""}}};
    CCimClass definition;
    definition.m_sName = "X";
    definition.m_methods = {method};
    return definition;
}

TEST(ClassText, HasEveryKindOfParameterAndQualifier) {
    EXPECT_EQ("<CLASS NAME=\"X\"><METHOD NAME=\"Do\" TYPE=\"boolean\" CLASSORIGIN=\"X\">"
              "<QUALIFIER NAME=\"Static\" TYPE=\"boolean\"><VALUE>FALSE</VALUE></QUALIFIER>"
              "<QUALIFIER NAME=\"Empty\" TYPE=\"string\"><VALUE.ARRAY></VALUE.ARRAY></QUALIFIER>"
              "<QUALIFIER NAME=\"Text\" TYPE=\"string\"><VALUE.ARRAY>"
              "<VALUE>a&lt;b&gt;&amp;\"c\"</VALUE><VALUE></VALUE></VALUE.ARRAY></QUALIFIER>"
              "<PARAMETER.ARRAY NAME=\"List\" TYPE=\"string\">"
              "<QUALIFIER NAME=\"Level\" TYPE=\"sint32\"><VALUE>-1</VALUE></QUALIFIER>"
              "</PARAMETER.ARRAY></METHOD></CLASS>",
              CClassText(Unusual()).Whole({true, true}));
}

TEST(ClassText, LeavesOutEveryQualifier) {
    const string wanted = "<CLASS NAME=\"X\"><METHOD NAME=\"Do\" TYPE=\"boolean\">"
                          "<PARAMETER.ARRAY NAME=\"List\" TYPE=\"string\"></PARAMETER.ARRAY>"
                          "</METHOD></CLASS>";
    EXPECT_EQ(wanted, CClassText(Unusual()).Whole({false, false}));
    EXPECT_EQ(wanted, CClassText(Unusual()).WithProperties({false, false}, {"List"}));
}

} // namespace

#include "wbemd/http/Credentials.h"

#include "wbemd/http/Base64.h"

#include <gtest/gtest.h>

using std::string;
using wbemd::CHttpHead;
using wbemd::DecodeBase64;

namespace {

TEST(DecodeBase64Test, Decodes) {
    const std::pair<string, string> rows[] = {{"", ""},
                                              {"YQ==", "a"},
                                              {"YWI=", "ab"},
                                              {"YWJj", "abc"},
                                              {"YWJjZA==", "abcd"},
                                              {"AAAA", string(3, '\0')},
                                              {"/+8=", "\xFF\xEF"},
                                              {"////", "\xFF\xFF\xFF"}};
    for (const auto& [text, bytes] : rows) {
        EXPECT_EQ(DecodeBase64(text), bytes) << text;
    }
}

TEST(DecodeBase64Test, RefusesWhatIsNone) {
    for (const char* const text : {"Y", "YQ", "YQ=", "YQ===", "YQ==YQ==", "=",
                                   "==", "===", "====", "Y===", "YQ= ", " YQ==", "YQ==\n",
                                   "Y-==", "YR==", "YWK=", "YWI=YWI=", "Y=Q="}) {
        EXPECT_EQ(DecodeBase64(text), std::nullopt) << text;
    }
    EXPECT_EQ(DecodeBase64(std::string_view("YQ=\0", 4)), std::nullopt);
}

// "USER|PASSWORD", or "none".
string Read(const std::vector<string>& values) {
    CHttpHead head;
    head.m_fields.emplace_back("Host", "h");
    for (const string& value : values) {
        head.m_fields.emplace_back("aUTHORIZATION", value);
    }
    const auto credentials = wbemd::ReadCredentials(head);
    return credentials ? credentials->m_user + "|" + credentials->m_password : "none";
}

TEST(ReadCredentialsTest, Reads) {
    struct CRow {
        std::vector<string> m_values;
        string m_read;
    };
    const CRow rows[] = {
        {{"Basic dTpw"}, "u|p"},
        {{"basic  dTpw"}, "u|p"},
        {{"Basic dTo="}, "u|"},
        {{"Basic dTpwOnE="}, "u|p:q"},
        {{"Basic w6Q6/w=="}, "\xC3\xA4|\xFF"},
        {{}, "none"},
        {{""}, "none"},
        {{"Basic"}, "none"},
        {{"Basic\tdTpw"}, "none"},
        {{"BasicdTpw"}, "none"},
        {{"Bearer dTpw"}, "none"},
        {{"Basic dTpw x"}, "none"},
        {{"Basic dTpw,"}, "none"},
        {{"Basic OnA="}, "none"},     // no user
        {{"Basic dXA="}, "none"},     // no colon
        {{"Basic dQA6cA=="}, "none"}, // a zero in the user
        {{"Basic dTpwfw=="}, "none"}, // DEL in the password
        {{"Basic dTpw", "Basic dTpw"}, "none"},
        {{"Basic dTpw", ""}, "none"},
    };
    for (const CRow& row : rows) {
        EXPECT_EQ(Read(row.m_values), row.m_read) << testing::PrintToString(row.m_values);
    }
}

} // namespace

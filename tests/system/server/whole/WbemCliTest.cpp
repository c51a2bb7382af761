// What people get who use wbemcli.

#include "KzmPaths.h"
#include "tests/support/SampleConf.h"
#include "tests/system/loggerctl/CGolden.h"
#include "tests/system/server/http/Certificates.h"
#include "tests/system/server/whole/CWbemCli.h"
#include "tests/system/server/whole/Changes.h"
#include "tests/system/server/whole/RecordText.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <regex>

namespace fs = std::filesystem;
using std::string;
using Words = CProgram::Words;

namespace {

const string kClass = "root/cimv2:VELTARO_ToolServiceLogger";

class WbemCli : public testing::Test {
protected:
    WbemCli() {
        if (CWbemCli::IsThere()) {
            m_server = std::make_unique<CWholeServer>();
        }
    }
    void SetUp() override {
        if (m_server == nullptr) {
            GTEST_SKIP() << "wbemcli is not installed";
        }
    }

    static string Record() { return RecordText(ChangedConf(), RecordStyle::Plain); }

    [[nodiscard]] CProgram::Result Set(const string& operation, const string& text) const {
        return CWbemCli(m_server.get()).Run(operation, kClass, {"SetParameter.LoggerConf=" + text});
    }

    std::unique_ptr<CWholeServer> m_server;
};

struct CRow {
    const char* m_name; // of the golden file
    const char* m_operation;
    string m_object;
    Words m_more;
};

const CRow kRows[] = {
    {"get-class", "gc", kClass, {}},
    {"get-class-of-a-record", "gc", "root/cimv2:VELTARO_LoggerFsUsageMonitorConf", {}},
    {"get-class-with-properties", "gc", "root/cimv2:VELTARO_LoggerConf", {"UsageMonitorConfCpu"}},
    {"get-class-definition", "gcd", kClass, {}},
    {"class-names", "ecn", "root/cimv2", {}},
    {"classes", "ec", "root/cimv2", {}},
    {"instance-names", "ein", kClass, {}},
    {"instances", "ei", kClass, {}},
    {"get-instance", "gi", kClass + ".Name=\"x\"", {}},
    {"namespaces", "ei", "interop:CIM_Namespace", {}},
    {"namespace-names", "ein", "interop:CIM_Namespace", {}},
    {"object-manager", "ei", "interop:CIM_ObjectManager", {}},
    {"interop-class-names", "ecn", "interop", {}},
    {"get", "cm", kClass, {"GetParameter"}},
    {"get-xml", "cmx", kClass, {"GetParameter"}},
    {"other-namespace", "gc", "root/other:VELTARO_ToolServiceLogger", {}},
    {"other-class", "gc", "root/cimv2:VELTARO_Other", {}},
    {"other-class-called", "cm", "root/cimv2:VELTARO_Other", {"GetParameter"}},
    {"other-method", "cm", kClass, {"Reset"}},
    {"set-nothing", "cm", kClass, {"SetParameter"}},
    {"delete-class", "dc", kClass, {}},
    {"delete-instance", "di", kClass + ".Name=\"x\"", {}},
    {"associators", "ain", kClass, {}},
};

TEST_F(WbemCli, SeesWhatIsServed) {
    const CWbemCli client(m_server.get());
    for (const CRow& row : kRows) {
        SCOPED_TRACE(row.m_name);
        CGolden::Expect(row.m_name, client.Run(row.m_operation, row.m_object, row.m_more));
    }
    EXPECT_EQ(CTestRoot::kAgentConfig, ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(CTestRoot::kAlertConfig, ReadFile(KzmPaths::kAlertConfig));
}

// The only instance that there is one of, found by its name as it was listed.
TEST_F(WbemCli, GetsAnInstanceByItsName) {
    const CWbemCli client(m_server.get());
    const string listed = client.Run("ein", "interop:CIM_ObjectManager").m_sOutput;
    const string name =
        listed.substr(listed.find('/') + 1, listed.find('\n') - listed.find('/') - 1);
    const string asked =
        std::regex_replace(name, std::regex("\"HOST\""), "\"" + CWbemCli::HostName() + "\"");
    const CProgram::Result got = client.Run("gi", asked);
    EXPECT_EQ(0, got.m_iExitCode) << got.m_sError;
    EXPECT_EQ(client.Run("ei", "interop:CIM_ObjectManager").m_sOutput, got.m_sOutput);
}

// ---- SetParameter ----

string Escaped(const string& record) {
    return XmlText(record, RecordStyle::Plain);
}

string InCdata(const string& record) {
    return "<![CDATA[" + record + "]]>";
}

TEST_F(WbemCli, SetsARecordInEitherForm) {
    for (const char* operation : {"cm", "cmx"}) {
        for (const auto form : {Escaped, InCdata}) {
            m_server->Root().SetAgentConfig(CTestRoot::kAgentConfig);
            m_server->Root().SetAlertConfig(CTestRoot::kAlertConfig);
            const std::size_t before = m_server->Root().VendorCalls().size();
            const CProgram::Result result = Set(operation, form(Record()));
            CGolden::Expect(string("set-") + operation, result);
            changes::ExpectChangedFiles();
            auto calls = m_server->Root().VendorCalls();
            calls.erase(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(before));
            EXPECT_EQ(changes::CommandsOfOne(), calls);
        }
    }
    EXPECT_EQ(4U, changes::Kept().size());
}

// The client takes the text apart at each comma, wherever it stands.
TEST_F(WbemCli, SetsANameWithAComma) {
    m_server->Root().SetMountOutput("/dev/sda1 on /da,ta type ext4 (rw)\n");
    CLoggerConf conf = ChangedConf();
    conf.m_FsUsageMonitorConf.m_FsThresholdConfList = {{"/da,ta", 70, true}};
    const string record = RecordText(conf, RecordStyle::Plain);
    CGolden::Expect("set-comma", Set("cm", Escaped(record)));
    CGolden::Expect("set-comma-in-cdata", Set("cm", InCdata(record)));
    changes::ExpectUntouchedFiles();
    const string reference = Replace(record, ",", "&#44;");
    CGolden::Expect("set-cm", Set("cm", InCdata(reference)));
    EXPECT_NE(string::npos, ReadFile(KzmPaths::kAlertConfig).find("\nFSNAME=\"/da,ta\"   (70)\n"))
        << ReadFile(KzmPaths::kAlertConfig);
}

// As somebody does it who wants to change one number.
TEST_F(WbemCli, SetsWhatItGotWithOneNumberChanged) {
    const CWbemCli client(m_server.get());
    string record = client.Run("cmx", kClass, {"GetParameter"}).m_sOutput;
    record = record.substr(record.find("<PARAMVALUE"));
    const std::size_t begin = record.find("<VALUE>") + string("<VALUE>").size();
    record = record.substr(begin, record.find("</VALUE>") - begin);
    const CProgram::Result result = Set("cmx", Replace(record, "gt;90&", "gt;95&"));
    EXPECT_EQ(0, result.m_iExitCode) << result.m_sError;
    EXPECT_EQ(CTestRoot::kAgentConfig, ReadFile(KzmPaths::kAgentConfig));
    EXPECT_EQ(ChangedAlert(), ReadFile(KzmPaths::kAlertConfig));
}

struct CWrongRecord {
    const char* m_name; // of the golden file
    string m_text;
};

TEST_F(WbemCli, IsToldWhatIsWrongWithARecord) {
    const string good = Record();
    const CWrongRecord rows[] = {
        {"set-out-of-range", InCdata(Replace(good, "&gt;95&lt;", "&gt;2147483648&lt;"))},
        {"set-no-number", InCdata(Replace(good, "&gt;95&lt;", "&gt;ninety&lt;"))},
        {"set-unknown-property", InCdata(Replace(good, "\"UsageMonitorConfCpu\"", "\"Cpu\""))},
        {"set-unknown-class", InCdata(Replace(good, "VELTARO_LoggerConf", "VELTARO_Conf"))},
        {"set-missing-property", InCdata("<INSTANCE CLASSNAME=\"VELTARO_LoggerConf\"></INSTANCE>")},
        {"set-empty", ""},
        {"set-unescaped-markup", good},
        {"set-escaped-twice", Escaped(Escaped(good))},
        {"set-cut-short", InCdata(good.substr(0, 300))},
        {"set-no-record", "Threshold"}};
    for (const CWrongRecord& row : rows) {
        SCOPED_TRACE(row.m_name);
        CGolden::Expect(row.m_name, Set("cm", row.m_text));
    }
    CGolden::Expect("set-out-of-range-xml", Set("cmx", rows[0].m_text));
    CGolden::Expect("set-other-parameter",
                    CWbemCli(m_server.get()).Run("cm", kClass, {"SetParameter.Conf=x"}));
    changes::ExpectUntouchedFiles();
    EXPECT_EQ(changes::Texts(), m_server->Root().VendorCalls());
}

TEST_F(WbemCli, GetsTheResultOfTheMethod) {
    m_server->Root().SetVendorAnswers(0, 1, 0);
    CGolden::Expect("set-stop-failed", Set("cm", InCdata(Record())));
    m_server->Root().SetVendorAnswers(1, 0, 0);
    CGolden::Expect("get-not-installed",
                    CWbemCli(m_server.get()).Run("cm", kClass, {"GetParameter"}));
    changes::ExpectUntouchedFiles();
}

// ---- Who asks ----

struct CUserRow {
    const char* m_name; // of the golden file
    const char* m_user;
    const char* m_password;
    const char* m_operation;
    Words m_more;
};

TEST_F(WbemCli, IsToldThatItMayNot) {
    const string good = CAccounts::kPassword;
    const string set = "SetParameter.LoggerConf=" + InCdata(Record());
    const CUserRow rows[] = {{"user-wrong-password", "reader", "wrong", "cm", {"GetParameter"}},
                             {"user-unknown", "nobody-at-all", good.c_str(), "gc", {}},
                             {"user-locked", "locked", good.c_str(), "gc", {}},
                             {"user-reader-sets", "reader", good.c_str(), "cm", {set}},
                             {"user-guest-reads", "guest", good.c_str(), "ecn", {}}};
    for (const CUserRow& row : rows) {
        SCOPED_TRACE(row.m_name);
        const CWbemCli client(m_server.get(), row.m_user, row.m_password);
        CGolden::Expect(row.m_name, client.Run(row.m_operation, kClass, row.m_more));
    }
    changes::ExpectUntouchedFiles();
    EXPECT_EQ(changes::Texts(), m_server->Root().VendorCalls());
}

TEST_F(WbemCli, ReaderReads) {
    const CWbemCli client(m_server.get(), "reader");
    CGolden::Expect("get", client.Run("cm", kClass, {"GetParameter"}));
}

// ---- Certificates ----

TEST_F(WbemCli, LooksAtTheCertificate) {
    CWbemCli client(m_server.get());
    const auto names = [&client] { return client.Run("ecn", "root/cimv2"); };
    const string other = CTestRoot::Path("/other.pem");
    WriteFile(other, MakeCertificate("localhost").m_certificate);
    client.Trust({"-cacert", other});
    CGolden::Expect("certificate-unknown", names());
    client.Trust({"-noverify"});
    CGolden::Expect("class-names", names());

    const string former = CTestRoot::Path("/former.pem");
    fs::copy(KzmPaths::kWbemdCertificate, former);
    InstallCertificate(MakeCertificate("localhost"));
    m_server->FrontEnd().Signal(SIGHUP);
    m_server->FrontEnd().AwaitLine("read anew");
    client.Trust({"-cacert", KzmPaths::kWbemdCertificate});
    CGolden::Expect("class-names", names());
    client.Trust({"-cacert", former});
    CGolden::Expect("certificate-unknown", names());

    InstallCertificate(MakeCertificate("localhost", -100, -10));
    m_server->FrontEnd().Signal(SIGHUP);
    m_server->FrontEnd().AwaitLine("has expired");
    client.Trust({"-cacert", KzmPaths::kWbemdCertificate});
    CGolden::Expect("certificate-expired", names());
    client.Trust({"-noverify"});
    CGolden::Expect("class-names", names());
}

} // namespace

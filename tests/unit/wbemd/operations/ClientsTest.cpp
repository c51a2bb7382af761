// Whole requests as management clients send them, and whole answers. Each file NAME.request of the
// folder "clients" is asked, and what comes of it is compared with NAME.answer; with
// KZM_UPDATE_GOLDEN=1 in the environment that is written instead.

#include "serverbase/Frames.h"
#include "tests/support/CAnswerCheck.h"
#include "tests/unit/host/ObjectDump.h"
#include "tests/unit/wbemd/operations/Asking.h"
#include "tests/unit/wbemd/operations/SampleInstances.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

using std::string;
using std::filesystem::path;

namespace {

std::set<path> Requests() {
    std::set<path> files;
    for (const auto& entry : std::filesystem::directory_iterator(CLIENTS_FOLDER)) {
        if (entry.path().extension() == ".request") {
            files.insert(entry.path());
        }
    }
    return files;
}

string Read(const path& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

// The call, and its answer when the method succeeds.
string CallAndAnswer(const wbemd::CPendingCall& call) {
    string text = "calls " + call.m_method + "\n";
    if (!call.m_inParameters.empty()) {
        const auto parameters = messages::DecodeObject(call.m_inParameters);
        text += parameters == nullptr ? "no object" : Dump(*parameters) + "\n";
    }
    IWbemClassObject output;
    output.Put("LoggerConf", samples::Settings());
    return text +
           asking::Finish(call, {messages::CallResult::Done, 0, messages::EncodeObject(output)});
}

// The server's own version is written VERSION.
string OutcomeOf(const CRequestText& request) {
    const auto outcome =
        asking::Operations().Answer(request.m_head, request.m_body, messages::Right::Change);
    const auto* call = std::get_if<wbemd::CPendingCall>(&outcome);
    string text = call == nullptr ? asking::Ask(request) : CallAndAnswer(*call);
    const string version = ">" KZM_VERSION "<";
    const std::size_t at = text.find(version);
    return at == string::npos ? text : text.replace(at, version.size(), ">VERSION<");
}

TEST(Clients, AreAnswered) {
    const char* update = std::getenv("KZM_UPDATE_GOLDEN");
    const bool isUpdate = update != nullptr && std::strcmp(update, "1") == 0;
    for (path file : Requests()) {
        const string outcome = OutcomeOf(CRequestText::Of(Read(file)));
        file.replace_extension(".answer");
        if (isUpdate) {
            std::ofstream(file, std::ios::binary) << outcome;
        }
        EXPECT_EQ(Read(file), outcome) << file << "\nTo take the new text: KZM_UPDATE_GOLDEN=1";
    }
}

TEST(Clients, AreManyKinds) {
    EXPECT_LE(20U, Requests().size());
}

} // namespace

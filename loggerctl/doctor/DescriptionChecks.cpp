#include "loggerctl/doctor/DescriptionChecks.h"

#include "KzmPaths.h"
#include "host/CServiceSteps.h"
#include "loggerctl/agent/CService.h"
#include "loggerctl/agent/Failures.h"
#include "loggerctl/doctor/Mending.h"
#include "loggerctl/output/SafeText.h"
#include "providerbase/CDeviceDescription.h"
#include "providerbase/CVendor.h"
#include "settings/LoggerDefinitions.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

namespace doctor {

namespace fs = std::filesystem;

namespace {

using agent::DescriptionFile;
using LoggerDefinitions::kDevice;
using std::string;

// What the description says; null when it cannot be used, and why.
struct CDescribed {
    std::unique_ptr<CVendor> m_vendor;
    CDeviceDescription m_description;
    string m_problem;
};

CDescribed ReadDescription() {
    agent::CReasonListener listener;
    const auto description = CDeviceDescription::Read(DescriptionFile());
    CDescribed described;
    if (description) {
        described.m_vendor = std::make_unique<CVendor>(kDevice, kDevice, *description);
        described.m_description = *description;
    }
    for (const string& text : agent::Explain(listener.Lines()).m_texts) {
        described.m_problem = text;
    }
    return described;
}

string TextOf(const string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// The line that gives the command; 0 when none does.
unsigned int LineOf(const string& command) {
    std::ifstream file(DescriptionFile());
    unsigned int number = 0;
    string line;
    while (std::getline(file, line)) {
        ++number;
        if (line.rfind(command + "=", 0) == 0) {
            return number;
        }
    }
    return 0;
}

string PlaceOf(const string& command) {
    return DescriptionFile() + ", line " + std::to_string(LineOf(command)) + ": ";
}

string EditLineOf(const string& command) {
    return EditCommand(DescriptionFile(), LineOf(command));
}

// ---- The description ----

string CopySample() {
    const string sample = agent::DescriptionSample();
    return IsThere(sample)
               ? "install -D -m 0644 " + Quoted(sample) + " " + Quoted(DescriptionFile())
               : EditCommand(DescriptionFile());
}

// Whose folders somebody else could exchange it in: up to /opt, which is the system's.
std::optional<CDistrust> FindDistrustOfPlace() {
    for (fs::path folder = KzmPaths::kDeviceFolder; folder.filename() != "opt";
         folder = folder.parent_path()) {
        std::optional<CDistrust> distrust = FindDistrust(folder.string());
        if (distrust) {
            return distrust;
        }
    }
    return std::nullopt;
}

string MendRefused(const string& problem) {
    const string path = DescriptionFile();
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        return MoveAsideCommand(path) + " && " + CopySample();
    }
    const string trust = TrustCommand(path);
    return trust.empty() ? EditCommand(path, LineNamed(problem, path)) : trust;
}

CFinding LookAtDescription(const CDescribed& described) {
    const string path = DescriptionFile();
    const CSubject subject("device-description", path);
    const bool isSample = IsThere(agent::DescriptionSample());
    if (!IsThere(path)) {
        return subject.Missing(
            path +
                ": does not exist. Without it nobody knows how the agent is found, stopped and "
                "started." +
                (isSample ? " Copy the sample, then see that its commands are your agent's." : ""),
            CopySample());
    }
    const agent::CReason reason = agent::WhyNotRead(path);
    if (reason.m_code == output::ExitCode::NoRights) {
        return subject.LacksRights(reason.m_text);
    }
    if (described.m_vendor == nullptr) {
        return subject.Wrong(described.m_problem, MendRefused(described.m_problem));
    }
    const std::optional<CDistrust> distrust = FindDistrustOfPlace();
    if (distrust) {
        return subject.Wrong(distrust->m_text + " The device description stands there.",
                             distrust->m_mend);
    }
    if (TextOf(path) == TextOf(agent::DescriptionSample())) {
        return subject.Ok("It is the sample as it was installed. See that its commands are your "
                          "agent's.");
    }
    return subject.Ok("It is complete and trusted.");
}

// ---- The commands ----

struct CCommand {
    const char* m_name;
    const char* m_does; // "the command that ..."
    bool m_optional;
};

constexpr CCommand kCommands[] = {
    {agent::kCheckInstall, "tells whether the agent is installed", false},
    {CServiceSteps::kStop, "stops the agent's service", false},
    {CServiceSteps::kStart, "starts the agent's service", false},
    {agent::kServiceStatus, "tells whether the agent's service runs", true},
};

// The words as a person would read them.
string Shown(const CDeviceDescription::Words& words) {
    string text;
    for (const string& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

// For a program that cannot be started.
CFinding CannotBeRun(const CSubject& subject, const string& command, const string& program,
                     const string& problem) {
    const string text = PlaceOf(command) + output::Escape(problem) + ".";
    struct stat status {};
    const int error = stat(program.c_str(), &status) == 0 ? 0 : errno;
    if (geteuid() != 0 && (error == 0 || error == EACCES)) {
        return subject.LacksRights(text + " Root may be able to start it. Run the command as "
                                          "root.");
    }
    if (error != 0) {
        return subject.Missing(text, EditLineOf(command));
    }
    const bool isPlain = S_ISREG(status.st_mode) && output::Escape(program) == program;
    return subject.Wrong(text, isPlain ? "chmod +x " + Quoted(program) : EditLineOf(command));
}

// Somebody who can exchange the program is root with the next change.
std::optional<CDistrust> FindDistrustOfProgram(const string& program) {
    std::error_code error;
    const fs::path file = fs::canonical(program, error);
    const std::optional<CDistrust> distrust = FindDistrust(file.string());
    return distrust || error ? distrust : FindDistrust(file.parent_path().string());
}

CFinding LookAtCommand(const CDescribed& described, const CCommand& command) {
    const auto words = described.m_description.m_commands.find(command.m_name);
    if (words == described.m_description.m_commands.end()) {
        const CSubject subject(command.m_name, DescriptionFile());
        const string line =
            string("a line ") + command.m_name + "= with the command that " + command.m_does;
        return command.m_optional
                   ? subject.Ok("The description has none, and needs none. With " + line +
                                ", \"loggerctl service status\" can answer.")
                   : subject.Missing(DescriptionFile() + ": lacks " + line + ". Add it.",
                                     EditCommand(DescriptionFile()));
    }
    const CSubject subject(command.m_name, Shown(words->second));
    const string problem = described.m_vendor->FindProblem(command.m_name);
    const string program = described.m_vendor->FindProgram(command.m_name);
    if (!problem.empty()) {
        return CannotBeRun(subject, command.m_name, program, problem);
    }
    const std::optional<CDistrust> distrust = FindDistrustOfProgram(program);
    if (distrust) {
        return subject.Wrong(PlaceOf(command.m_name) + distrust->m_text +
                                 " Whoever can change what is run here rules the host.",
                             distrust->m_mend);
    }
    return subject.Ok(output::Escape(program) + " can be started and is trusted.");
}

// ---- The agent ----

CFinding LookAtInstallation(const CDescribed& described, const CFinding& description) {
    if (described.m_vendor == nullptr) {
        const CSubject subject("agent", DescriptionFile());
        const string text = "Only the device description tells whether it is installed.";
        return description.m_lacksRights ? subject.LacksRights(text) : subject.NotLookedAt(text);
    }
    const auto words = described.m_description.m_commands.find(agent::kCheckInstall);
    const bool isDescribed = words != described.m_description.m_commands.end();
    const CSubject subject("agent", isDescribed ? Shown(words->second) : DescriptionFile());
    if (!described.m_vendor->FindProblem(agent::kCheckInstall).empty()) {
        return subject.NotLookedAt("The command CheckInstall cannot be run.");
    }
    const int answer = described.m_vendor->ExecuteCommand(agent::kCheckInstall);
    if (answer == agent::kNotInstalled) {
        return subject.Missing(PlaceOf(agent::kCheckInstall) +
                                   "CheckInstall says that the agent is not installed. Install it; "
                                   "if it is installed, correct this line.",
                               EditLineOf(agent::kCheckInstall));
    }
    if (!agent::IsRunToItsEnd(answer)) {
        return subject.Wrong(PlaceOf(agent::kCheckInstall) +
                                 "CheckInstall did not come to its end (" + std::to_string(answer) +
                                 "). Correct this line.",
                             EditLineOf(agent::kCheckInstall));
    }
    return subject.Ok("CheckInstall says that it is installed.");
}

} // namespace

CFindings LookAtAgent() {
    const CDescribed described = ReadDescription();
    const CFinding description = LookAtDescription(described);
    CFindings findings{LookAtInstallation(described, description), description};
    for (const CCommand& command : kCommands) {
        if (described.m_vendor != nullptr) {
            findings.push_back(LookAtCommand(described, command));
        }
    }
    return findings;
}

} // namespace doctor

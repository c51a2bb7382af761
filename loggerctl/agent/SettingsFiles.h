#pragma once

#include "history/CSettingsCopy.h"
#include "history/Expected.h"
#include "loggerctl/output/Failure.h"

#include <string>

// The agent's two settings files and the lock file as this process finds them: what keeps them from
// being used, in words that say what to do. Nothing is changed.
namespace agent {

// Why something cannot be done: a sentence, safe to print; empty when nothing keeps it. NoRights as
// code where the running user lacks rights that root has.
struct CReason {
    std::string m_text;
    output::ExitCode m_code = output::ExitCode::Failure;
};

CReason WhyNotRead(const std::string& path);
// The file can be read.
CReason WhyNotWritten(const std::string& path);
// Why the lock file cannot be opened, or made in its folder.
CReason WhyNotLocked(const std::string& path);

// For an operation ("read", "written", "replaced") that failed with this error number.
CReason Refused(const std::string& path, const std::string& action, int error);

// What a function of the history answered, in the tool's form.
output::CFailure ToFailure(const std::string& headline, const history::CProblem& problem);
output::CFailure ToFailure(const std::string& headline, const CReason& reason);

// Why the file systems of the files would not hold the texts of the copy, written anew: the room
// that they need must be free besides the files as they are.
CReason WhyNoRoom(const history::CSettingsCopy& wanted);

// The same for the file system of the history, which takes a copy of both.
CReason WhyNoRoomForCopy(const history::CSettingsCopy& copy);

// A unified diff of the texts of both files; empty when they are equal. Its names begin with a/ and
// b/ before the absolute paths: "patch -p1 -d /" takes it.
std::string Difference(const history::CSettingsCopy& from, const history::CSettingsCopy& to);

} // namespace agent

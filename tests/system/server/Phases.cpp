#include "tests/system/server/Phases.h"

#include "history/CDescriptor.h"
#include "tests/support/CTestRoot.h"
#include "tests/support/FindHost.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>

using std::string;

namespace {

// Held by what hangs.
string HangingLock() {
    return CTestRoot::Path("/hanging");
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const CPhase& phase) {
    return stream << phase.m_name;
}

std::vector<CPhase> Phases() {
    return {{"InstallationCheckOfGet", "CheckInstall", "GetParameter", false, {}},
            {"MountOfGet", nullptr, "GetParameter", false, {"CheckInstall"}},
            {"InstallationCheckOfSet", "CheckInstall", "SetParameter", false, {}},
            {"Stop", "ServiceStop", "SetParameter", false, {"CheckInstall"}},
            {"MountBehindTheStop", nullptr, "SetParameter", true, {"CheckInstall", "ServiceStop"}},
            {"Start", "ServiceStart", "SetParameter", true, {"CheckInstall", "ServiceStop"}}};
}

string FindHostIn(const CPhase& phase) {
    // The mount command's parent is the worker, or a shell below it.
    return phase.m_command != nullptr ? kFindHost
                                      : "host=$PPID; [ \"$(cat /proc/$host/comm)\" = kzm-worker ] "
                                        "|| read -r id name state host rest < /proc/$PPID/stat; ";
}

void DoOnceInPhase(const CPhase& phase, const string& text) {
    const string mark = CTestRoot::Path("/done");
    const string once = "if [ ! -e " + mark + " ]; then : > " + mark + "; " + text + "; fi";
    if (phase.m_command == nullptr) {
        SetMountScript(once);
    } else {
        SetVendorScript("if [ \"$1\" = " + string(phase.m_command) + " ]; then " + once + "; fi");
    }
}

string Hanging() {
    return "(exec 9> " + HangingLock() + "; flock 9; exec sleep 100); :";
}

void AwaitEndOfHanging() {
    const history::CDescriptor file(
        open(HangingLock().c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0600));
    EXPECT_EQ(0, flock(file.Get(), LOCK_EX));
}

void SetVendorScript(const string& text) {
    const string folder = CTestRoot::Path("/opt/veltaro/agent/");
    WriteFile(folder + "vendor-command",
              "#!/bin/sh\n" + text + "\necho \"$1\" >> " + folder + "vendor-calls\nexit 0\n");
}

void SetMountScript(const string& text) {
    const string file = CTestRoot::Path("/bin/mount");
    WriteFile(file, "#!/bin/sh\n" + text + "\nexec /bin/cat " + file + ".output\n");
}

// Load, change and save with Augeas and the lenses beside this file.
//
//   change_augeas AGENT.CFG ALERT.CFG FOLDER-OF-THE-LENSES

#include <augeas.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using std::string;

bool Transform(augeas* tree, const string& lens, const string& path) {
    const string entry = "/augeas/load/" + lens;
    return aug_set(tree, (entry + "/lens").c_str(), (lens + ".lns").c_str()) == 0 &&
           aug_set(tree, (entry + "/incl").c_str(), path.c_str()) == 0;
}

bool Change(augeas* tree, const string& agent, const string& alert) {
    return aug_set(tree, (agent + "/SyslogOutput").c_str(), "False") == 0 &&
           aug_set(tree, (alert + "/CPU/1").c_str(), "False") == 0 &&
           aug_set(tree, (alert + "/CPU/4").c_str(), "85") == 0 &&
           aug_setm(tree, (alert + "/volume").c_str(), "threshold", "85") >= 0 &&
           aug_rm(tree, (alert + "/volume/disabled").c_str()) >= 0;
}

} // namespace

int main(int /*count*/, char** arguments) {
    const string agent = arguments[1];
    const string alert = arguments[2];
    augeas* tree = aug_init(nullptr, arguments[3], AUG_NO_STDINC | AUG_NO_MODL_AUTOLOAD);
    const bool isSaved = tree != nullptr && Transform(tree, "LoggerAgent", agent) &&
                         Transform(tree, "LoggerAlert", alert) && aug_load(tree) == 0 &&
                         Change(tree, "/files" + agent, "/files" + alert) && aug_save(tree) == 0;
    if (!isSaved) {
        aug_print(tree, stderr, "/augeas//error");
    }
    aug_close(tree);
    return isSaved ? EXIT_SUCCESS : EXIT_FAILURE;
}

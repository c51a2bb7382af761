#include "providerd/door/CommandLine.h"

#include "KzmPaths.h"
#include "providerd/Worker.h"
#include "providerd/door/CDaemon.h"
#include "providerd/door/CSettings.h"
#include "serverbase/PrintableText.h"

#include <cstdlib>
#include <iostream>
#include <map>

namespace providerd {

namespace {

using Kind = CRequestedRun::Kind;

constexpr int kWrongUse = 2;

constexpr char kHelp[] =
    R"(Usage: kzm-providerd [OPTION]

Checks what the management server's front end is asked for, and calls the provider.
Without an option it serves the front end until SIGTERM; SIGHUP reads the configuration anew.

Options:
  --check    tells what is wrong with the configuration, a line each, and ends
  --help     prints this text and ends
  --version  prints the version and ends

Exit status: 0 good, 1 a problem that was told, 2 wrong use.
)";

int Check() {
    const CReadSettings read = ReadSettings(KzmPaths::kProviderdConfig);
    for (const std::string& problem : read.m_problems) {
        std::cerr << problem << "\n";
    }
    return read.m_problems.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

int Print(const std::string& text) {
    std::cout << text << std::flush;
    return std::cout.good() ? EXIT_SUCCESS : EXIT_FAILURE;
}

int Refuse(const std::string& word) {
    std::cerr << "kzm-providerd: \"" << daemon_base::Printable(word)
              << "\" is no option. See kzm-providerd --help.\n";
    return kWrongUse;
}

} // namespace

CRequestedRun RequestedRun(const std::vector<std::string>& words) {
    static const std::map<std::string, Kind> kKinds = {{"--worker", Kind::Work},
                                                       {"--check", Kind::Check},
                                                       {"--help", Kind::Help},
                                                       {"-h", Kind::Help},
                                                       {"--version", Kind::Version}};
    if (words.empty()) {
        return {Kind::Serve, {}};
    }
    const auto kind = kKinds.find(words.front());
    if (kind == kKinds.end()) {
        return {Kind::Unknown, words.front()};
    }
    return words.size() == 1 ? CRequestedRun{kind->second, {}}
                             : CRequestedRun{Kind::Unknown, words[1]};
}

int RunCommandLine(const std::vector<std::string>& words) {
    const CRequestedRun run = RequestedRun(words);
    switch (run.m_kind) {
    case Kind::Serve:
        return CDaemon().Run();
    case Kind::Work:
        return RunWorker();
    case Kind::Check:
        return Check();
    case Kind::Help:
        return Print(kHelp);
    case Kind::Version:
        return Print("kzm-providerd " KZM_VERSION "\n");
    default:
        return Refuse(run.m_unknown);
    }
}

} // namespace providerd

// What the shells offer behind a command line. Each test is for one shell.

#include "tests/system/loggerctl/UserTexts.h"

#include "KzmPaths.h"
#include "loggerctl/record/Keys.h"
#include "tests/support/CTestRoot.h"
#include "tests/system/loggerctl/SampleHistory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

using namespace UserTexts;

namespace fs = std::filesystem;

namespace {

struct CShell {
    const char* m_name;
    const char* m_command; // $1 is the command line; prints an offer a line
};

void PrintTo(const CShell& shell, std::ostream* stream) {
    *stream << shell.m_name;
}

const CShell kShells[] = {
    {"bash", "bash " TEST_FOLDER "/completions.bash " COMPLETION_FOLDER "/loggerctl.bash \"$1\""},
    {"zsh", "zsh -f " TEST_FOLDER "/completions.zsh " COMPLETION_FOLDER " \"$1\""},
    {"fish", "fish --no-config --command 'source $argv[1]; complete -C $argv[2]' " COMPLETION_FOLDER
             "/loggerctl.fish \"$1\""},
};

// The shells find the program by its name; that one finds the provider of this build.
class Completion : public testing::TestWithParam<CShell> {
protected:
    void SetUp() override {
        if (OutputOf(std::string("command -v ") + GetParam().m_name).empty()) {
            GTEST_SKIP() << "there is no " << GetParam().m_name << " here";
        }
        fs::create_directories(Folder());
        WriteFile(Folder() + "/loggerctl",
                  "#!/bin/sh\nexec " LOGGERCTL_PROGRAM " --provider " PROVIDER_LIBRARY
                  " --definitions " CLASS_DEFINITIONS " \"$@\"\n");
        fs::permissions(Folder() + "/loggerctl", fs::perms(0755));
    }

    // Without descriptions, and without what the shell adds to a word that is complete.
    static Names Offers(const std::string& line) {
        const std::string script = "export PATH=" + Folder() + ":$PATH HOME=" + Folder() +
                                   " LC_ALL=C.UTF-8; set -- " + Quoted(line) + "; " +
                                   GetParam().m_command;
        Names names;
        for (const std::string& offer : Lines(OutputOf("timeout 50 sh -c " + Quoted(script)))) {
            std::string name = offer.substr(0, offer.find('\t'));
            name.erase(std::remove(name.begin(), name.end(), '\\'), name.end());
            names.insert(name);
        }
        return names;
    }

    static Names Words(const std::string& line) {
        Names words;
        for (const std::string& offer : Offers(line)) {
            if (offer.front() != '-') {
                words.insert(offer);
            }
        }
        return words;
    }

    static Names Options(const std::string& line) {
        Names options;
        for (const std::string& offer : Offers(line)) {
            options.merge(AllMatches(offer, std::regex("^--[a-z-]+")));
        }
        return options;
    }

    const CTestRoot m_root;

private:
    static std::string Folder() { return CTestRoot::Path("/shell"); }
};

// The keys of these file systems, and those that are the same on every host.
Names Keys(const Names& fileSystems, const std::string& ending) {
    Names keys;
    for (const record::CKey& key : record::Keys()) {
        keys.insert(key.m_name + ending);
    }
    for (const std::string& name : fileSystems) {
        for (const record::CVolumeKey& key : record::VolumeKeys()) {
            keys.insert(record::VolumeKeyText(name, key) + ending);
        }
    }
    return keys;
}

Names Both(Names names, const Names& others) {
    names.insert(others.begin(), others.end());
    return names;
}

TEST_P(Completion, OffersTheOptionsOfTheHelp) {
    const CommandOptions options = OptionsInHelp();
    const Names& general = options.at("");
    ASSERT_EQ(options.size(), 8U); // a command that is added is to be added to the shells', too
    for (const auto& [command, own] : options) {
        SCOPED_TRACE(command);
        EXPECT_EQ(Options("loggerctl " + command + (command.empty() ? "--" : " --")),
                  Both(own, general));
    }
}

TEST_P(Completion, OffersCommandsAndActions) {
    Names commands;
    for (const auto& [command, own] : OptionsInHelp()) {
        commands.insert(command);
    }
    commands.erase("");
    EXPECT_EQ(Words("loggerctl "), commands);
    EXPECT_EQ(Words("loggerctl --provider x "), commands);
    EXPECT_EQ(Words("loggerctl -q --format json se"), (Names{"service", "set"}));
    EXPECT_EQ(Words("loggerctl service "), (Names{"start", "stop", "restart", "status"}));
    EXPECT_EQ(Words("loggerctl service --wait 5 st"), (Names{"start", "stop", "status"}));
    EXPECT_EQ(Words("loggerctl service stop "), Names());
    EXPECT_EQ(Words("loggerctl history "), Names());
    EXPECT_EQ(Words("loggerctl doctor "), Names());
}

TEST_P(Completion, OffersKeysAndGroups) {
    const Names fileSystems{"/", "/home", "/data"};
    EXPECT_EQ(Words("loggerctl get "),
              Both(Keys(fileSystems, ""), {"syslog", "cpu", "memory", "fs"}));
    EXPECT_EQ(Words("loggerctl get --no-usage cpu.t"), Names{"cpu.threshold"});
    EXPECT_EQ(Words("loggerctl get fs:/h"), (Names{"fs:/home.enable", "fs:/home.threshold"}));
    EXPECT_EQ(Words("loggerctl set "), Keys(fileSystems, "="));
    EXPECT_EQ(Words("loggerctl set cpu.count=5 fs:/home.t"), Names{"fs:/home.threshold="});
}

TEST_P(Completion, OffersValuesOfSwitches) {
    for (const std::string key : {"cpu.enable=", "syslog.output=", "fs:/home.enable="}) {
        EXPECT_EQ(Words("loggerctl set " + key), (Names{key + "on", key + "off"}));
        EXPECT_EQ(Words("loggerctl set " + key + "of"), Names{key + "off"});
    }
    EXPECT_EQ(Words("loggerctl set cpu.count="), Names());
    EXPECT_EQ(Words("loggerctl set fs:/home.threshold="), Names());
}

TEST_P(Completion, TakesNamesAsTheyAre) {
    m_root.SetMountOutput("/dev/sda2 on /srv/my disk type ext4 (rw)\n"
                          "/dev/sda3 on /srv/a:b type ext4 (rw)\n"
                          "/dev/sda4 on /srv/c=d type ext4 (rw)\n");
    EXPECT_EQ(Words("loggerctl set fs:/s"), [] {
        Names keys;
        for (const std::string& key : Keys({"/srv/my disk", "/srv/a:b", "/srv/c=d"}, "=")) {
            if (key.rfind("fs:", 0) == 0) {
                keys.insert(key);
            }
        }
        return keys;
    }());
    EXPECT_EQ(Words("loggerctl get fs:/srv/a:b.e"), Names{"fs:/srv/a:b.enable"});
    EXPECT_EQ(Words("loggerctl get fs:/srv/c=d.e"), Names{"fs:/srv/c=d.enable"});
}

TEST_P(Completion, OffersCopies) {
    SampleHistory::Add(SampleHistory::kOlder, "set cpu.count=5", "a", "b");
    SampleHistory::Add(SampleHistory::kNewer, "x", "a", "b");
    const Names ids{SampleHistory::kOlder, SampleHistory::kNewer};
    EXPECT_EQ(Words("loggerctl diff "), ids);
    EXPECT_EQ(Words("loggerctl restore --force "), ids);
    EXPECT_EQ(Words("loggerctl restore --wait 5 20260203"), Names{SampleHistory::kNewer});
    EXPECT_EQ(Words("loggerctl restore 1 "), Names());
}

TEST_P(Completion, OffersFilesAndFormats) {
    const auto endsInVersion = [](const std::string& line) {
        const Names offers = Words(line);
        return offers.size() == 1 && std::regex_search(*offers.begin(), std::regex("version$"));
    };
    EXPECT_TRUE(endsInVersion("loggerctl set --json /proc/versio"));
    EXPECT_TRUE(endsInVersion("loggerctl --provider /proc/versio"));
    EXPECT_TRUE(endsInVersion("loggerctl get --definitions /proc/versio"));
    EXPECT_EQ(Words("loggerctl --format "), (Names{"text", "json"}));
    EXPECT_EQ(Offers("loggerctl get --format=j"), Names{"--format=json"});
}

TEST_P(Completion, IsSilentWhereTheProgramFails) {
    m_root.RemoveDeviceDescription();
    EXPECT_EQ(Words("loggerctl set "), Keys({}, "="));
    SampleHistory::MakeFolder();
    fs::permissions(KzmPaths::kHistoryFolder, fs::perms(0777)); // which is refused
    EXPECT_EQ(Words("loggerctl diff "), Names());
}

INSTANTIATE_TEST_SUITE_P(Of, Completion, testing::ValuesIn(kShells),
                         [](const auto& row) { return std::string(row.param.m_name); });

} // namespace

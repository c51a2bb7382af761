#include "loggerctl/commands/SettingsView.h"

#include "tests/system/loggerctl/CLocale.h"
#include "tests/unit/loggerctl/SampleSettings.h"

#include <gtest/gtest.h>

namespace {

const char kUpperTables[] = "Syslog output\n"
                            "  Write alerts to syslog  on\n"
                            "  Information alerts      off\n"
                            "  Warning alerts          on\n"
                            "  Obstacle alerts         on\n"
                            "\n"
                            "Usage monitors  State  Interval  Samples  Threshold\n"
                            "  CPU           on           60        5       90 %\n"
                            "  Memory        off          30        3       85 %\n"
                            "  File systems  on          300        2\n"
                            "\n";

TEST(SettingsText, ShowsTheGroupsThatAreAskedFor) {
    const auto text = [](const std::vector<std::string>& groups) {
        return commands::SettingsText(MakeLoggerConf({"/"}), groups, std::nullopt,
                                      output::CTerminal());
    };
    EXPECT_EQ(text({"syslog"}), "Syslog output\n"
                                "  Write alerts to syslog  on\n"
                                "  Information alerts      off\n"
                                "  Warning alerts          on\n"
                                "  Obstacle alerts         on\n");
    EXPECT_EQ(text({"memory"}), "Usage monitors  State  Interval  Samples  Threshold\n"
                                "  Memory        off          30        3       85 %\n");
    EXPECT_EQ(text({"fs", "cpu"}), "Usage monitors  State  Interval  Samples  Threshold\n"
                                   "  CPU           on           60        5       90 %\n"
                                   "  File systems  on          300        2\n"
                                   "\n"
                                   "File systems  Monitored  Threshold\n"
                                   "  /           yes             80 %\n");
}

TEST(SettingsText, ShowsTheUsageOfEachFileSystem) {
    const record::CUsages usages = {85, 12, std::nullopt};
    EXPECT_EQ(commands::SettingsText(MakeLoggerConf({"/", "/home", "/proc"}), {}, usages,
                                     output::CTerminal()),
              std::string(kUpperTables) +
                  "File systems  Monitored  Threshold  In use\n"
                  "  /           yes             80 %  ################|...  85 % over\n"
                  "  /home       no              81 %  ##..............|...  12 %\n"
                  "  /proc       yes             82 %  -\n");
}

TEST(SettingsText, LeavesTheColumnOutWithoutUsages) {
    EXPECT_EQ(commands::SettingsText(MakeLoggerConf({"/"}), {}, std::nullopt, output::CTerminal()),
              std::string(kUpperTables) + "File systems  Monitored  Threshold\n"
                                          "  /           yes             80 %\n");
}

TEST(SettingsText, SaysThatNothingIsMounted) {
    EXPECT_EQ(
        commands::SettingsText(MakeLoggerConf({}), {}, record::CUsages(), output::CTerminal()),
        std::string(kUpperTables) + "No file system is mounted.\n");
}

TEST(SettingsText, PrintsNamesSafely) {
    const CLocale plain(kPlainLocale);
    const std::string text = commands::SettingsText(MakeLoggerConf({"/a\x1B[2J\\\xFF"}), {},
                                                    std::nullopt, output::CTerminal());
    EXPECT_NE(text.find("\n  /a\\x1B[2J\\\\\\xFF  yes  "), std::string::npos) << text;
}

TEST(SettingsText, FitsEightyColumns) {
    const CLocale utf8(kUtf8Locale);
    output::CTerminal terminal;
    terminal.m_utf8 = true;
    const std::string text =
        commands::SettingsText(MakeLoggerConf({"/", "/srv/" + std::string(20, 'x')}), {},
                               record::CUsages{100, 100}, terminal);
    std::size_t begin = 0;
    for (std::size_t end; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
        const std::string line = text.substr(begin, end - begin);
        EXPECT_LE(std::mbstowcs(nullptr, line.c_str(), 0), 80U) << line;
    }
}

} // namespace

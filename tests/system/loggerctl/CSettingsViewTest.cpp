#include "loggerctl/commands/CSettingsView.h"

#include "comlib/CIWbemUtil.h"
#include "settings/CLoggerConf.h"
#include "tests/system/loggerctl/CLocale.h"
#include "tests/system/loggerctl/SampleSettings.h"

#include <gtest/gtest.h>

namespace {

CLoggerConf MakeConf(const std::vector<std::string>& volumes) {
    IWbemClassObject parameters;
    CIWbemUtil::setParameterClassToIWbemClassObject(&parameters, "LoggerConf",
                                                    MakeLoggerConf(volumes).get());
    CLoggerConf conf(&parameters);
    EXPECT_EQ(conf.m_iStatus, 0);
    return conf;
}

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

TEST(CSettingsView, ShowsTheUsageOfEachFileSystem) {
    const CSettingsView::Usages usages = {85, 12, std::nullopt};
    EXPECT_EQ(CSettingsView::Text(MakeConf({"/", "/home", "/proc"}), usages, CTerminal()),
              std::string(kUpperTables) +
                  "File systems  Monitored  Threshold  In use\n"
                  "  /           yes             80 %  ################|...  85 % over\n"
                  "  /home       no              81 %  ##..............|...  12 %\n"
                  "  /proc       yes             82 %  -\n");
}

TEST(CSettingsView, LeavesTheColumnOutWithoutUsages) {
    EXPECT_EQ(CSettingsView::Text(MakeConf({"/"}), std::nullopt, CTerminal()),
              std::string(kUpperTables) + "File systems  Monitored  Threshold\n"
                                          "  /           yes             80 %\n");
}

TEST(CSettingsView, SaysThatNothingIsMounted) {
    EXPECT_EQ(CSettingsView::Text(MakeConf({}), CSettingsView::Usages(), CTerminal()),
              std::string(kUpperTables) + "No file system is mounted.\n");
}

TEST(CSettingsView, PrintsNamesSafely) {
    const CLocale plain(kPlainLocale);
    const std::string text =
        CSettingsView::Text(MakeConf({"/a\x1B[2J\\\xFF"}), std::nullopt, CTerminal());
    EXPECT_NE(text.find("\n  /a\\x1B[2J\\\\\\xFF  yes  "), std::string::npos) << text;
}

TEST(CSettingsView, FitsEightyColumns) {
    const CLocale utf8(kUtf8Locale);
    CTerminal terminal;
    terminal.m_bUtf8 = true;
    const std::string text = CSettingsView::Text(MakeConf({"/", "/srv/" + std::string(20, 'x')}),
                                                 CSettingsView::Usages{100, 100}, terminal);
    std::size_t begin = 0;
    for (std::size_t end; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
        const std::string line = text.substr(begin, end - begin);
        EXPECT_LE(std::mbstowcs(nullptr, line.c_str(), 0), 80U) << line;
    }
}

} // namespace

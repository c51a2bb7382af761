// The commands that mend files.

#include "loggerctl/doctor/Mending.h"
#include "tests/support/CTempFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

TEST(Mending, QuotesForTheShell) {
    EXPECT_EQ(doctor::Quoted("/opt/a-b_c.d+e"), "/opt/a-b_c.d+e");
    EXPECT_EQ(doctor::Quoted(""), "''");
    EXPECT_EQ(doctor::Quoted("/opt/my agent"), "'/opt/my agent'");
    EXPECT_EQ(doctor::Quoted("/a'; rm $b"), "'/a'\\''; rm $b'");
}

TEST(Mending, FindsTheLine) {
    EXPECT_EQ(doctor::LineNamed("/a/b.cfg, line 12: CPU has no values.", "/a/b.cfg"), 12U);
    EXPECT_EQ(doctor::LineNamed("/a/b.cfg line 3 has a quote.", "/a/b.cfg"), 3U);
    EXPECT_EQ(doctor::LineNamed("/a/b.cfg: no line gives CPU its values.", "/a/b.cfg"), 0U);
    EXPECT_EQ(doctor::LineNamed("/a/c.cfg, line 3: x", "/a/b.cfg"), 0U);
    EXPECT_EQ(doctor::LineNamed("/a/b.cfg", "/a/b.cfg"), 0U);
    EXPECT_EQ(doctor::LineNamed("/a\\x01, line 3: x", "/a\x01"), 3U);
}

TEST(Mending, OpensTheEditorAtTheLine) {
    EXPECT_EQ(doctor::EditCommand("/a"), "\"${EDITOR:-vi}\" /a");
    EXPECT_EQ(doctor::EditCommand("/a b", 7), "\"${EDITOR:-vi}\" +7 '/a b'");
}

TEST(Mending, InstallsByThePackageManagerThatIsThere) {
    std::string folder = testing::TempDir() + "managers-XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    const char* const given = std::getenv("PATH");
    const std::string before = given == nullptr ? "" : given;
    setenv("PATH", ("/no/such/folder:" + folder).c_str(), 1);
    EXPECT_EQ(doctor::InstallCommand("mount", "util-linux"), "apt-get install --reinstall mount")
        << "where there is none";
    // Each is found before those that stand above it.
    const std::pair<const char*, const char*> rows[] = {
        {"zypper", "zypper install --force util-linux"},
        {"dnf", "dnf reinstall util-linux"},
        {"apt-get", "apt-get install --reinstall mount"},
    };
    for (const auto& [program, command] : rows) {
        std::ofstream(folder + "/" + program).close();
        EXPECT_NE(doctor::InstallCommand("mount", "util-linux"), command) << "cannot be run";
        std::filesystem::permissions(folder + "/" + program, std::filesystem::perms(0755));
        EXPECT_EQ(doctor::InstallCommand("mount", "util-linux"), command);
    }
    std::filesystem::remove(folder + "/apt-get");
    EXPECT_EQ(doctor::InstallCommand("kzm-wbemd"), "dnf reinstall kzm-wbemd");
    setenv("PATH", before.c_str(), 1);
    std::filesystem::remove_all(folder);
}

TEST(Mending, TakesAttributesAway) {
    const CTempFile file("text");
    EXPECT_EQ(doctor::WritableCommand(file.Path()), "");
    const std::string protect = "chattr +a " + file.Path() + " 2>/dev/null";
    if (std::system(protect.c_str()) != 0) {
        GTEST_SKIP() << "this user or file system has no such attributes";
    }
    const std::string command = doctor::WritableCommand(file.Path());
    EXPECT_EQ(command, "chattr -i -a " + file.Path());
    EXPECT_EQ(std::system(command.c_str()), 0);
    EXPECT_EQ(doctor::WritableCommand(file.Path()), "");
}

TEST(Mending, TrustsRootAndTheStickyBit) {
    EXPECT_EQ(doctor::TrustCommand("/"), "");
    EXPECT_EQ(doctor::TrustCommand("/tmp"), "");
    EXPECT_EQ(doctor::TrustCommand("/no/such/file"), "");
}

} // namespace

#include "providerd/door/Listener.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;
using history::CDescriptor;
using providerd::MakeListener;
using std::string;

namespace {

class Listener : public testing::Test {
protected:
    Listener() : m_folder(testing::TempDir() + "kzm-XXXXXX") {
        EXPECT_NE(mkdtemp(m_folder.data()), nullptr);
    }
    ~Listener() override { fs::remove_all(m_folder); }

    string Path(const string& name) const { return m_folder + "/" + name; }
    static string ProblemOf(const string& path) {
        const auto listener = MakeListener(path, "root");
        return listener ? "" : listener.error();
    }

    string m_folder;
};

TEST_F(Listener, PathsThatAreTooLongAreRefused) {
    const std::size_t most = sizeof(sockaddr_un().sun_path) - 1;
    const string fits = Path(string(most - m_folder.size() - 1, 'x'));
    ASSERT_EQ(fits.size(), most);
    EXPECT_EQ(ProblemOf(fits), "");
    EXPECT_EQ(ProblemOf(fits + "x"),
              fits + "x: is too long for a socket, which can have 107 bytes.");
}

TEST_F(Listener, MakesItsFolders) {
    const string path = Path("run/kzm/socket");
    EXPECT_EQ(ProblemOf(path), "");
    struct stat status {};
    ASSERT_EQ(stat(Path("run/kzm").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0755U);
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFSOCK | 0660U);
}

TEST_F(Listener, TellsWhatStandsInItsWay) {
    std::ofstream(Path("file")) << "text";
    fs::create_directory(Path("folder"));
    EXPECT_EQ(ProblemOf(Path("file")),
              Path("file") + ": is not a socket. Remove it: the socket belongs there.");
    EXPECT_EQ(ProblemOf(Path("folder")),
              Path("folder") + ": is not a socket. Remove it: the socket belongs there.");
    EXPECT_EQ(ProblemOf(Path("file/socket")), Path("file") + ": cannot be made (Not a directory).");
    fs::create_symlink(Path("elsewhere"), Path("link"));
    EXPECT_EQ(ProblemOf(Path("link")),
              Path("link") + ": is not a socket. Remove it: the socket belongs there.");
}

TEST_F(Listener, ReplacesASocketThatNobodyListensOn) {
    const string path = Path("socket");
    auto first = MakeListener(path, "root");
    ASSERT_TRUE(first) << first.error();
    EXPECT_EQ(ProblemOf(path), path + ": is in use by another process. End it first.");
    first->Close();
    EXPECT_EQ(ProblemOf(path), "");
}

TEST_F(Listener, HasNoConnectionUntilOneComes) {
    const auto listener = MakeListener(Path("socket"), "root");
    ASSERT_TRUE(listener) << listener.error();
    CDescriptor connection;
    EXPECT_EQ(providerd::AcceptFrontEnd(listener->Get(), "root", &connection),
              providerd::Accepting::Goes);
    EXPECT_FALSE(connection.IsOpen());
}

} // namespace

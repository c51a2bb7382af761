#include "settings/CLoggerFsUsageMonitorConf.h"

#include "tests/support/CTestRoot.h"
#include "tests/support/CTraceCapture.h"
#include "tests/support/TableTest.h"

#include <sys/resource.h>

using std::string;
using Names = std::vector<string>;

namespace {

Names NamesOf(const std::list<CLoggerFsThresholdConf>& list) {
    Names names;
    for (const CLoggerFsThresholdConf& row : list) {
        names.push_back(row.m_sVolumeName);
    }
    return names;
}

struct OutputRow {
    string name;
    string output;
    bool expected;
    Names names;
};
std::ostream& operator<<(std::ostream& out, const OutputRow& row) {
    return out << row.output.substr(0, 200);
}

class GetMountPointList : public testing::TestWithParam<OutputRow> {};

TEST_P(GetMountPointList, TakesTheMountPointOfEveryLine) {
    const CTestRoot root;
    root.SetMountOutput(GetParam().output);
    std::list<CLoggerFsThresholdConf> list;
    const CTraceCapture trace;
    EXPECT_EQ(GetParam().expected, CLoggerFsUsageMonitorConf().GetMountPointList(list));
    EXPECT_EQ(GetParam().names, NamesOf(list));
    for (const CLoggerFsThresholdConf& row : list) {
        EXPECT_EQ(80, row.m_iThreshold);
        EXPECT_FALSE(row.m_bVolMonitoringEnable);
        EXPECT_EQ(0, row.m_iStatus);
    }
    EXPECT_EQ(TraceLines{}, trace.Lines());
}

// A line of which the first `length` bytes end right behind " type ". The buffer takes 4095 bytes
// of a line.
const string kBefore = "/dev/sda1 on ";
const string kBehind = " type ";
string LongName(std::size_t length) {
    return "/" + string(length - kBefore.size() - 1 - kBehind.size(), 'x');
}
string LongLine(std::size_t length) {
    return kBefore + LongName(length) + kBehind + "ext4 (rw)\n";
}

INSTANTIATE_TEST_SUITE_P(
    Outputs, GetMountPointList,
    testing::Values(
        OutputRow{"TwoFileSystems",
                  "/dev/sda1 on / type ext3 (rw)\nproc on /proc type proc (rw)\n",
                  true,
                  {"/", "/proc"}},
        OutputRow{"Nothing", "", true, {}},
        OutputRow{"SameMountPointTwice",
                  "a on /mnt type ext4 (rw)\nb on / type ext4 (rw)\nc on /mnt type xfs (rw)\n",
                  true,
                  {"/mnt", "/"}},
        OutputRow{"NamesThatDifferInCaseOrSlash",
                  "a on /data type x\na on /Data type x\na on /data/ type x\n",
                  true,
                  {"/data", "/Data", "/data/"}},
        OutputRow{"LineWithoutType",
                  "mount: something is wrong on /dev\na on / type ext4 (rw)\n",
                  true,
                  {"/"}},
        OutputRow{"LineWithoutOn", "a / type ext4 (rw)\n\nb on /b type ext4 (rw)\n", true, {"/b"}},
        OutputRow{"EmptyMountPoint",
                  "a on / type ext4 (rw)\nx on  type y\nb on /b type ext4 (rw)\n",
                  false,
                  {}},
        OutputRow{"TypeInsideTheMountPoint", "a on /x type y type ext4 (rw)\n", true, {"/x"}},
        OutputRow{"OnInsideTheMountPoint", "a on /x on y type ext4 (rw)\n", true, {"/x on y"}},
        OutputRow{"OnInsideTheDevice", "a on b on /x type ext4 (rw)\n", true, {"b on /x"}},
        OutputRow{"TypeBeforeOn", "a type b on /x type ext4\n", true, {"/x"}},
        OutputRow{"BlanksInTheName", "a on /my files type ext4 (rw)\n", true, {"/my files"}},
        OutputRow{
            "HostileName", "a on /\x1b[31m%s\"\xff type ext4 (rw)\n", true, {"/\x1b[31m%s\"\xff"}},
        OutputRow{"NoFinalNewlineLosesACharacter",
                  "a on / type ext4 (rw)\nb on /b type x",
                  true,
                  {"/", "/b"}},
        OutputRow{"NoFinalNewlineBreaksTheSeparator",
                  "a on / type ext4 (rw)\nb on /b type ",
                  true,
                  {"/"}},
        OutputRow{"LongestNameThatIsFound", LongLine(4094), true, {LongName(4094)}},
        OutputRow{"LineThatFillsTheBufferLosesACharacter",
                  LongLine(4095) + "b on /b type x\n",
                  true,
                  {"/b"}},
        OutputRow{"RestOfALongLineIsALineOfItsOwn",
                  string(4095, 'x') + "a on /rest type ext4 (rw)\nb on /b type x\n",
                  true,
                  {"/rest", "/b"}},
        OutputRow{"LineOfFiveThousandBytes",
                  kBefore + "/" + string(4960, 'x') + " type ext4 (rw)\nb on /b type x\n",
                  true,
                  {"/b"}},
        OutputRow{"ZeroBytes", string("\0\na on /x type y\n\0\0", 19), true, {"/x"}}),
    RowName<OutputRow>);

TEST(MountTable, KeepsTheRowsThatTheListHeld) {
    const CTestRoot root;
    std::list<CLoggerFsThresholdConf> list{{"/home", 70, true}};
    EXPECT_TRUE(CLoggerFsUsageMonitorConf().GetMountPointList(list));
    EXPECT_EQ((Names{"/home", "/", "/data"}), NamesOf(list));
    EXPECT_EQ(70, list.front().m_iThreshold);
}

TEST(MountTable, MissingCommandIsAnEmptyTable) {
    const CTestRoot root;
    root.RemoveMountCommand();
    std::list<CLoggerFsThresholdConf> list{{"/home", 70, true}};
    EXPECT_TRUE(CLoggerFsUsageMonitorConf().GetMountPointList(list));
    EXPECT_EQ(Names{"/home"}, NamesOf(list));
}

// As long as it lives, this process can open nothing.
class CWithoutDescriptors {
public:
    CWithoutDescriptors() {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit none{0, m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~CWithoutDescriptors() { setrlimit(RLIMIT_NOFILE, &m_before); }
    CWithoutDescriptors(const CWithoutDescriptors&) = delete;
    CWithoutDescriptors& operator=(const CWithoutDescriptors&) = delete;

private:
    rlimit m_before{};
};

TEST(MountTable, CommandThatCannotBeStartedLeavesTheListAsItWas) {
    const CTestRoot root;
    std::list<CLoggerFsThresholdConf> list{{"/home", 70, true}};
    const CTraceCapture trace;
    {
        const CWithoutDescriptors without;
        EXPECT_FALSE(CLoggerFsUsageMonitorConf().GetMountPointList(list));
    }
    EXPECT_EQ(Names{"/home"}, NamesOf(list));
    EXPECT_EQ(TraceLines{}, trace.Lines());
}

TEST(MountTable, ChecksForExactlyThisName) {
    CLoggerFsUsageMonitorConf conf;
    std::list<CLoggerFsThresholdConf> list;
    EXPECT_FALSE(conf.CheckMountPointName("/home", list));
    list.emplace_back("/", 80, false);
    list.emplace_back("/home", 80, false);
    EXPECT_TRUE(conf.CheckMountPointName("/home", list));
    EXPECT_FALSE(conf.CheckMountPointName("/hom", list));
    EXPECT_FALSE(conf.CheckMountPointName("/home/", list));
    EXPECT_FALSE(conf.CheckMountPointName("/Home", list));
    EXPECT_FALSE(conf.CheckMountPointName("", list));
}

} // namespace

#include "serverbase/CConfigFile.h"

#include "tests/support/CTempFile.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

using std::string;
using Lines = std::vector<string>;

namespace {

// What a file with this one value is read as.
struct CValueRow {
    const char* m_name;
    const char* m_text;
    string m_value;
    Lines m_words;
    unsigned long m_number; // of 5 to 10; 7 when absent
    Lines m_problems;       // of the number
};

const string kNumber = " is no number from 5 to 10.";

const CValueRow kValueRows[] = {
    {"no file", "", "absent", {"ab", "sent"}, 7, {}},
    {"plain", "Name=6\n", "6", {"6"}, 6, {}},
    {"without a last line end", "Name=6", "6", {"6"}, 6, {}},
    {"blanks", " \tName \t= \t6\t \n", "6", {"6"}, 6, {}},
    {"carriage returns", "\r\nName=6\r\n\r\n", "6", {"6"}, 6, {}},
    {"comments", "# Name=8\n  #Name=9\n\nName=6\n", "6", {"6"}, 6, {}},
    {"least", "Name=5", "5", {"5"}, 5, {}},
    {"most", "Name=10", "10", {"10"}, 10, {}},
    {"leading zeros", "Name=0006", "0006", {"0006"}, 6, {}},
    {"too little", "Name=4", "4", {"4"}, 7, {"P, line 1: Name: \"4\"" + kNumber}},
    {"too much", "\nName=11", "11", {"11"}, 7, {"P, line 2: Name: \"11\"" + kNumber}},
    {"beyond every number",
     "Name=99999999999999999999",
     "99999999999999999999",
     {"99999999999999999999"},
     7,
     {"P, line 1: Name: \"99999999999999999999\"" + kNumber}},
    {"negative", "Name=-6", "-6", {"-6"}, 7, {"P, line 1: Name: \"-6\"" + kNumber}},
    {"plus", "Name=+6", "+6", {"+6"}, 7, {"P, line 1: Name: \"+6\"" + kNumber}},
    {"a unit", "Name=6s", "6s", {"6s"}, 7, {"P, line 1: Name: \"6s\"" + kNumber}},
    {"empty", "Name=", "", {}, 7, {"P, line 1: Name: \"\"" + kNumber}},
    {"separators alone", "Name= , ,", ", ,", {}, 7, {"P, line 1: Name: \", ,\"" + kNumber}},
    {"words",
     "Name=a, b  c,d",
     "a, b  c,d",
     {"a", "b", "c", "d"},
     7,
     {"P, line 1: Name: \"a, b  c,d\"" + kNumber}},
    {"equals and hash in the value",
     "Name=a=b #c",
     "a=b #c",
     {"a=b", "#c"},
     7,
     {"P, line 1: Name: \"a=b #c\"" + kNumber}},
    {"not printable", "Name=\xFF", "\xFF", {"\xFF"}, 7, {"P, line 1: Name: \"?\"" + kNumber}},
};

TEST(CConfigFile, Values) {
    for (const CValueRow& row : kValueRows) {
        CConfigFile file = CConfigFile::OfText("P", row.m_text);
        EXPECT_EQ(file.TakeText("Name", "absent"), row.m_value) << row.m_name;
        EXPECT_EQ(file.TakeWords("Name", {"ab", "sent"}), row.m_words) << row.m_name;
        EXPECT_EQ(file.Problems(), Lines()) << row.m_name;
        EXPECT_EQ(file.TakeNumber("Name", 7, 5, 10), row.m_number) << row.m_name;
        EXPECT_EQ(file.Problems(), row.m_problems) << row.m_name;
    }
}

TEST(CConfigFile, EverythingThatIsWrongIsToldInTheFilesOrder) {
    CConfigFile file = CConfigFile::OfText("P", "Unknown=1\n"
                                                "Name\n"
                                                "Name=4\n"
                                                " = 5\n"
                                                "Name=6\n"
                                                "name=7\n"
                                                "A\x1B=1\n"
                                                "Path=here\n");
    EXPECT_EQ(file.TakeNumber("Name", 7, 5, 10), 7U);
    EXPECT_EQ(file.TakeText("Path", ""), "here");
    file.Refuse("Path", "It is not absolute.");
    EXPECT_EQ(file.TakeText("Absent", "x"), "x");
    file.Refuse("Absent", "There is none.");
    const Lines wanted = {
        "P: Absent: There is none.",
        "P, line 1: Unknown is unknown. Correct its spelling, or remove the line.",
        "P, line 2: Is no \"Name=value\". Correct it, or put a # in front.",
        "P, line 3: Name: \"4\"" + kNumber,
        "P, line 4: Is no \"Name=value\". Correct it, or put a # in front.",
        "P, line 5: Name stands in line 3 already. Remove one of the two.",
        "P, line 6: name is unknown. Correct its spelling, or remove the line.",
        "P, line 7: Has a control character. Remove it.",
        "P, line 8: Path: It is not absolute.",
    };
    EXPECT_EQ(file.Problems(), wanted);
}

TEST(CConfigFile, AMissingFileHasNoLines) {
    CConfigFile file = CConfigFile::Read("/nowhere/at/all.conf");
    EXPECT_EQ(file.TakeText("Name", "absent"), "absent");
    EXPECT_EQ(file.Problems(), Lines());
}

TEST(CConfigFile, AFolderIsNoFile) {
    EXPECT_EQ(CConfigFile::Read("/").Problems(),
              Lines{"/: The file cannot be read: Is a directory."});
}

TEST(CConfigFile, ReadsUpToTheLimit) {
    const string line = "Name=6\n#";
    CTempFile most(line + string(CConfigFile::kBytes - line.size(), '#'));
    CConfigFile file = CConfigFile::Read(most.Path());
    EXPECT_EQ(file.TakeText("Name", "absent"), "6");
    EXPECT_EQ(file.Problems(), Lines());

    CTempFile more(line + string(CConfigFile::kBytes + 1 - line.size(), '#'));
    CConfigFile tooLarge = CConfigFile::Read(more.Path());
    EXPECT_EQ(tooLarge.TakeText("Name", "absent"), "absent");
    EXPECT_EQ(tooLarge.Problems(),
              Lines{more.Path() + ": The file is larger than 65536 bytes. Shorten it."});
}

} // namespace

#include "tests/system/loggerctl/CGolden.h"

#include "tests/support/CTestRoot.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace {

bool IsUpdate() {
    const char* value = std::getenv("KZM_UPDATE_GOLDEN");
    return value != nullptr && std::strcmp(value, "1") == 0;
}

} // namespace

void CGolden::Expect(const std::string& name, const CProgram::Result& result) {
    const std::string text = "exit code " + std::to_string(result.m_iExitCode) + "\n---- output\n" +
                             WithoutRoot(result.m_sOutput) + "---- error\n" +
                             WithoutRoot(result.m_sError);
    const std::string path = std::string(GOLDEN_FOLDER) + "/" + name + ".txt";
    if (IsUpdate()) {
        WriteFile(path, text);
    }
    EXPECT_EQ(text, ReadFile(path)) << "To take the new text: KZM_UPDATE_GOLDEN=1";
}

std::string CGolden::WithoutRoot(std::string text) {
    const std::string root = CTestRoot::Path("");
    for (std::size_t at = 0; (at = text.find(root, at)) != std::string::npos;) {
        text.replace(at, root.size(), "ROOT");
    }
    return text;
}

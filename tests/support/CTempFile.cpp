#include "tests/support/CTempFile.h"

#include "tests/support/CTestRoot.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>

CTempFile::CTempFile(const std::string& text) : m_sPath(testing::TempDir() + "kzm-test-XXXXXX") {
    const int descriptor = mkstemp(m_sPath.data());
    EXPECT_NE(-1, descriptor) << m_sPath;
    close(descriptor);
    WriteFile(m_sPath, text);
}

CTempFile::~CTempFile() {
    unlink(m_sPath.c_str());
}

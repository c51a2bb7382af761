#pragma once

#include "tests/support/CProgram.h"

#include <string>

// Compares what a run gave with a file in the folder "golden".
class CGolden {
public:
    // Fails the running test unless exit code, output and error are those of golden/<name>.txt, in
    // which ROOT stands for the root of this build. With KZM_UPDATE_GOLDEN=1 in the environment the
    // file is written instead.
    static void Expect(const std::string& name, const CProgram::Result& result);

    // The text with ROOT in place of the root of this build.
    static std::string WithoutRoot(std::string text);
};

#pragma once

#include "tests/otherplatform/Script.h"

class KzmException {
public:
    static void set_transrator() { CScript::Get().Note("set_transrator"); }
};

#pragma once

#include "history/CSettingsCopy.h"

#include "tests/unit/history/Answer.h"

// The settings files as they are at present; fails the running test where they cannot be read.
inline history::CSettingsCopy Now() {
    return Must(history::CSettingsCopy::OfNow(history::CSettingsCopy::Missing::Allow));
}

#pragma once

#include "settings/CLoggerConf.h"

// The record of both files, compared apart from the product.
class CWholeRecord {
public:
    // Value by value and row by row, in order.
    static bool IsSame(const CLoggerConf& left, const CLoggerConf& right);
};

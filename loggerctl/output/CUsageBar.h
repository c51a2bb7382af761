#pragma once

#include "loggerctl/output/CTable.h"

#include <string>

// The space in use as a bar against the threshold that raises an alert.
class CUsageBar {
public:
    // A cell such as "########....|...  52 %": in one cell of the bar the threshold is marked,
    // unless it is none between 1 and 100. The word "over" follows from the threshold on. Block
    // characters are used with utf8, ASCII otherwise. The style tells how near the threshold is,
    // and is dim for a file system that is not monitored, which is never "over".
    static CTable::Cell Cell(int percent, int threshold, bool monitored, bool utf8);
};

#pragma once

#include "host/CCimClass.h"

#include <vector>

// Classes with a property of every type, for tests:
//   Inner { string Name; sint32 Level; }
//   Outer { boolean Flag; uint32 Count; sint32 Level; string Name; Inner One; Inner Many[]; }
//   Node { Node Children[]; }
std::vector<CCimClass> SampleClasses();

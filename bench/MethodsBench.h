#pragma once

// Registers the benchmarks of both methods, called through the loaded library as a host calls them,
// and of the work beside them that cannot be avoided.
void RegisterMethods();

#pragma once

// Registers the benchmarks of the tool: whole runs of its commands, each a process of its own.
void RegisterTool();

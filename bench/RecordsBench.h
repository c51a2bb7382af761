#pragma once

// Registers the benchmarks of the records, their readers, the mount probe and the editors.
void RegisterRecords();

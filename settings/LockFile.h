#pragma once

// The lock that everybody takes who reads or writes the agent's two files: an exclusive advisory
// lock on one file, whose contents nobody reads or writes. It serialises processes, and callers
// within a process, and goes with the process that holds it; programs that it starts have no part
// in it.
namespace LockFile {

// Takes the lock and returns the descriptor that holds it. The file is made, for its owner alone,
// when it is missing; its folder is not. Returns -1, with nothing held, when the file cannot be
// opened or made, or when another holder did not give the lock up within 30 tries, one second
// apart.
int Take();

// Gives the lock back and closes its descriptor.
void Give(int descriptor);

} // namespace LockFile

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
//
// What counts is the number of tries: a signal that the waiting thread handles ends the second that
// it is in. A thread that is cancelled while it waits ends with nothing held; nothing else here can
// be cancelled. A process that was forked meanwhile and has not started a program keeps the lock
// only if this process ends without giving it back.
//
// Standard streams that are closed are opened on /dev/null and stay so: no file that is opened
// under the lock has the number of one. Without /dev/null there is no lock.
int Take();

// Gives the lock back and closes its descriptor.
void Give(int descriptor);

} // namespace LockFile

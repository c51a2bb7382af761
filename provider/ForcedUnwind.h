#pragma once

#include <exception> // says which standard library this is

// What travels up the stack of a thread that is cancelled (pthread_cancel) or ends itself
// (pthread_exit). Whoever catches everything must let it pass, or the process is ended:
//
//     } catch (const ForcedUnwind&) {
//         throw;
//     } catch (...) {
//
// Where an exception is being handled already even that ends the process: such places hold the
// cancellation back.
#ifdef __GLIBCXX__
#include <cxxabi.h>
using ForcedUnwind = abi::__forced_unwind;
#else
struct ForcedUnwind {}; // other libraries do not let it be caught
#endif

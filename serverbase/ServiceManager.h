#pragma once

#include <exception>
#include <string>
#include <vector>

// How a daemon lives with the service manager that started it, if one did. Without one, nothing of
// this does anything.
namespace daemon_base {

// The listening sockets that the service manager handed over, owned by the caller from now on; they
// are closed on exec. A later call finds none.
std::vector<int> TakeListeners();

// Tells the service manager: all is up; the configuration is being read anew (Ready follows); this
// is the end. `status` is one line for people.
void TellReady(const std::string& status);
void TellReloading();
void TellStopping(const std::string& status);

// Every so many milliseconds TellAlive must be called; 0: never.
unsigned long AliveInterval();
void TellAlive();

// One line to standard error, marked for the journal when that is where it goes. Control characters
// and bytes that are no UTF-8 are replaced, so that nothing in it can be obeyed by a terminal or be
// taken for another line. Written with one write.
enum class Level { Error, Warning, Notice, Info };
void Log(Level level, const std::string& text);

// The line "WHAT: REASON." of an error. Without memory even for that it is left out.
void LogException(const char* what, const std::exception& exception) noexcept;

} // namespace daemon_base

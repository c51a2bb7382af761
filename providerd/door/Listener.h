#pragma once

#include "history/CDescriptor.h"

#include <tl/expected.hpp>

#include <string>

// The socket that the front end connects to.
namespace providerd {

// The listener that the service manager handed over, or why it does not do; one that is not open
// when it handed over none.
tl::expected<history::CDescriptor, std::string> HandedOverListener();

// A listener at this path, for the owner and the group of the front end's user: read and write.
// Makes the folder when it is missing, and replaces a socket that nobody listens on any more. On
// failure a sentence comes back that says why.
tl::expected<history::CDescriptor, std::string> MakeListener(const std::string& path,
                                                             const std::string& frontEndUser);

// The next connection, if its other side is a process of the front end's user. Otherwise one that
// is not open: it was closed, which is logged, or there is none.
enum class Accepting { Goes, LacksMemory };
Accepting AcceptFrontEnd(int listener, const std::string& frontEndUser,
                         history::CDescriptor* connection);

} // namespace providerd

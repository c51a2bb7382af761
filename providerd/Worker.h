#pragma once

#include "providerd/CProviderCaller.h"

namespace providerd {

// What the program does when it is started with "--worker": takes requests from the connection at
// kWorkerDescriptor, one at a time, and answers each before it reads on. It ends when the
// connection does, after the call that it has begun: a change that is half done would be worse than
// one whose caller is gone. For the same reason SIGTERM, SIGINT and SIGHUP do not end it. A call
// that takes longer than the request allows does, by SIGALRM.
//
// Returns the exit status: 0 at the connection's end, 1 when there is no connection or what came is
// no request. Then a line is logged.
int RunWorker(const CWorkerOptions& options = {});

} // namespace providerd

#pragma once

#include "loggerctl/output/CExitCodes.h"

#include <string>

struct CRestoreOptions {
    std::string m_sId; // empty: see CRestoreCommand::Run
    bool m_bForce = false;
};

// "loggerctl restore": puts both settings files back as they were when a copy was kept.
class CRestoreCommand {
public:
    // Runs the command to its end. Without an ID it takes the copy whose restore did not come to
    // its end, or else the newest one. The present state is kept first. The new files are written
    // to disk beside the old ones before the service is stopped, and exchanged while it is: up to
    // that point a failure leaves everything as it was. A failure afterwards leaves the service
    // stopped. The settings lock is held all the time.
    //
    // When both files are already as in the copy nothing is done, unless it is forced or an earlier
    // restore was interrupted, which may have left the service stopped.
    static ExitCode Run(const CRestoreOptions& options);
};

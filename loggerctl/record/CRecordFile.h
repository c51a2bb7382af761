#pragma once

#include "loggerctl/output/CExitCodes.h"
#include "providerbase/IWbemClassObject.h"

#include <memory>
#include <string>

// Settings from a file, as "get --json" prints them.
struct CRecordFile {
    // Reads the file, or standard input for "-", and checks it against the class definitions. Calls
    // nothing of the provider.
    static CRecordFile Read(const std::string& path, const std::string& definitionsFile);

    std::unique_ptr<IWbemClassObject> m_record; // the "LoggerConf" object; null on failure
    ExitCode m_exitCode = ExitCode::Success;    // or Usage: the text is wrong; or NotLoaded
    std::string m_sError;                       // a sentence, safe to print
};

#pragma once

#include "providerbase/CVELTARO_ToolService.h"

#include <cstdint>
#include <list>

class CLoggerConf;
class CVendor;
class CVendorFactory;

// The provider of the class "VELTARO_ToolServiceLogger": it reads ("GetParameter") and changes
// ("SetParameter") the settings of the log-monitoring agent.
//
// A provider object serves one method call at a time. Calls of several objects and processes
// exclude each other through the provider lock.
class CVELTARO_ToolServiceLogger : public CVELTARO_ToolService {
public:
    // Registers the provider with its base class and asks for the vendor object of the agent.
    // Faults and exceptions are traced and do not leave it. Without a vendor object both methods
    // answer MethodResult::kFailure for the object's whole life. A cancelled thread makes none, and
    // leaves nothing behind.
    CVELTARO_ToolServiceLogger();

    // Hands the vendor object back. Faults and exceptions are traced and do not leave it. It cannot
    // be cancelled, and what it calls must not end the thread.
    ~CVELTARO_ToolServiceLogger() override;

    // Serves "GetParameter" and "SetParameter" and forwards every other method to the base class.
    // Returns the call's status, after giving it to the sink:
    //   CallStatus::kSuccess       the method ran; the sink has the output object with its result
    //   CallStatus::kNotSupported  the class definition could not be fetched; no output object
    //   CallStatus::kFailed        an exception or fault was caught; the sink has the output object
    //                              with MethodResult::kException, unless that failed, too
    //   any other                  the base class's answer to a forwarded method
    // An exception that the sink throws when it is given the status is the host's own and passes
    // through. All arguments stay the caller's.
    //
    // The calling thread can be cancelled (pthread_cancel, type deferred) while it waits for the
    // lock or for a command, and in what the host itself does; not while files are read or written.
    // It then ends without a status for the sink, nothing is held, and the service is in the state
    // that the commands so far have left it in.
    HRESULT ExecMethodAsync(char* className, char* methodName, long flags, IWbemContext* context,
                            IWbemClassObject* inParams, IWbemObjectSink* sink) override;

private:
    // GetParameter.cpp
    std::uint32_t GetParameter(IWbemClassObject* inParams, IWbemClassObject* outParams);

    // SetParameter.cpp
    std::uint32_t SetParameter(IWbemClassObject* inParams, IWbemClassObject* outParams);
    // With the lock held: stops the agent's service, writes the settings, starts the service. After
    // a failure the service stays stopped.
    std::uint32_t ChangeSettings(IWbemClassObject* inParams);
    // Between stop and start: takes the request, normalises it, and writes it.
    static std::uint32_t WriteSettings(IWbemClassObject* inParams);
    // True when the vendor object's command answered 0; another answer is traced.
    bool ControlService(const char* command);

    // When the file-system monitor is off as a whole, no file system is monitored on its own.
    static void CheckFsMonitoringEnable(CLoggerConf* conf);
    // A file system that arrives without a threshold (0) gets the default.
    static void CheckMountPointThreshold(CLoggerConf* conf);

    // VerifiedWrite.cpp

    // Writes the record into both files and reads them back. True when they hold what was asked
    // for; otherwise the reason is traced and the files stay as they are then.
    static bool EditConfigFile(CLoggerConf* conf);

    // CVELTARO_ToolServiceLogger.cpp

    // What both methods begin with: a vendor object, an installed agent, the lock. Returns
    // MethodResult::kSuccess with the lock held, or the method's result with nothing held; the
    // reason is traced under the method's name.
    std::uint32_t BeginMethod(const char* methodName);

    // Takes the provider lock. False, with nothing held, when the lock file cannot be opened or
    // made, or when another holder did not give the lock up within 30 tries, one second apart.
    bool GetMutex();
    // Gives the lock back; harmless without one. Always true.
    bool DelMutex();

    void ObtainVendor();
    void ReleaseVendors();

    std::list<CVendor*> m_VendorList; // empty, or the one vendor object; the factory owns it
    CVendorFactory* m_pVendorFactory; // owned; freed where a fault in it can still be caught
    int m_iLockFd;                    // -1 when the lock is not held
};

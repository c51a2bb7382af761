#pragma once

#include "comlib/KzmApi.h"
#include "providerbase/CDeviceDescription.h"

#include <string>

// A vendor object: carries out the commands of one device as its description says.
//
// The order of the virtual operations is fixed: ExecuteCommand is the sixth entry of the table and
// SetOwnerProvider the twenty-first (the destructor takes the first two). The reserved entries
// belong to other kinds of device; they do nothing and answer -1.
class KZM_API CVendor {
public:
    CVendor(std::string deviceName, std::string vendorKind, CDeviceDescription description);
    CVendor(const CVendor&) = delete;
    CVendor& operator=(const CVendor&) = delete;
    virtual ~CVendor() noexcept(false); // entries 1 and 2

    virtual std::string GetDeviceName();                 // 3
    virtual std::string GetVendorKind();                 // 4
    virtual bool HasCommand(const std::string& command); // 5

    // Runs the command of this name to its end and returns its exit status. It is started directly,
    // never through a shell, in a process group of its own, with standard streams on /dev/null, no
    // other descriptor, and an environment of PATH and LANG alone; a program without a slash is
    // looked up on that PATH. Other answers:
    //   124    it took longer than the description allows, and it was ended with its process group
    //   127    the description has no such command, or it could not be started
    //   128+n  signal n ended it
    // What the host program does with signals, children and descriptors does not change the answer
    // (CCommandRunner.h). A thread that is cancelled while it waits ends the command as a time-out
    // does.
    // Whatever the answer, it is traced at level 1 together with the command's name.
    virtual int ExecuteCommand(const std::string& command); // 6

    virtual int Reserved7();
    virtual int Reserved8();
    virtual int Reserved9();
    virtual int Reserved10();
    virtual int Reserved11();
    virtual int Reserved12();
    virtual int Reserved13();
    virtual int Reserved14();
    virtual int Reserved15();
    virtual int Reserved16();
    virtual int Reserved17();
    virtual int Reserved18();
    virtual int Reserved19();
    virtual int Reserved20();

    // Tells the vendor object for which provider it works; the trace names it.
    virtual void SetOwnerProvider(std::string providerName, std::string providerVersion); // 21

    // ---- For host programs and tools ----

    // Why ExecuteCommand could not start the command of this name: a sentence without a full stop,
    // whose texts come from the description as they are. Empty when it can be started. Starts
    // nothing.
    std::string FindProblem(const std::string& command) const;

    // The path of the program that ExecuteCommand would start for the command of this name; empty
    // when the description has no such command, or no folder of the fixed PATH has its program.
    std::string FindProgram(const std::string& command) const;

    // Ends the commands that this process's vendor objects run now, as a time-out does, but at
    // once: ExecuteCommand then answers what they end with (143 as a rule). Can be called from any
    // thread.
    static void EndCommands();

private:
    std::string m_sDeviceName;
    std::string m_sVendorKind;
    CDeviceDescription m_description;
    std::string m_sOwner;
};

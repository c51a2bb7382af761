#pragma once

#include <ostream>
#include <string>
#include <vector>

// The phases of the methods, by what runs in them.
struct CPhase {
    const char* m_name;
    const char* m_command; // of the vendor; null: the mount command
    const char* m_method;
    bool m_isWritten;                 // the files, before it
    std::vector<std::string> m_calls; // of the vendor that ended before it
};

std::ostream& operator<<(std::ostream& stream, const CPhase& phase);

// Every one of GetParameter and SetParameter.
std::vector<CPhase> Phases();

// Shell code: afterwards $host is the process that makes the call of the phase.
std::string FindHostIn(const CPhase& phase);

// In this phase that is done, as shell code, the first time. The command goes on behind it.
void DoOnceInPhase(const CPhase& phase, const std::string& text);

// Shell code: a process of the command's own hangs. Afterwards: waits until that process is gone.
std::string Hanging();
void AwaitEndOfHanging();

// The vendor's command does this first, as a shell script in which $1 is the command's name, and
// then records itself and answers 0.
void SetVendorScript(const std::string& text);
// The mount command does this, and then prints the test root's file systems.
void SetMountScript(const std::string& text);

#pragma once

#include "settings/CLoggerConf.h"
#include "tests/support/CAccounts.h"
#include "tests/support/CRequestText.h"
#include "tests/system/server/http/CClient.h"

#include <string>

// What is asked of the server byte for byte, as libraries for management clients do, and what it
// answers.
namespace conversation {

CRequestText GetParameter();
CRequestText SetParameter(const CLoggerConf& conf);

// The bytes of a request of this user.
std::string Bytes(const CRequestText& request, const std::string& user = "changer",
                  const std::string& password = CAccounts::kPassword);

// What an answer says, on one line: "returned 0"; "error 4: TEXT"; "400 header-mismatch: TEXT"; of
// an intrinsic operation its return value as it stands there. Empty: it did not come.
std::string OutcomeOf(const std::string& answer);

// Sends a request, and gives the outcome.
std::string Ask(CClient* client, const CRequestText& request, const std::string& user = "changer",
                const std::string& password = CAccounts::kPassword);

} // namespace conversation

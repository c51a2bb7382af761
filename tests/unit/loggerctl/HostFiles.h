#pragma once

#include "KzmPaths.h"

#include <sys/types.h>

#include <string>

// The agent's settings files.
inline const std::string kAgent = KzmPaths::kAgentConfig;
inline const std::string kAlert = KzmPaths::kAlertConfig;

// A user without the rights of root.
inline constexpr uid_t kOrdinaryUser = 65534;

// What a child process answers when that user cannot reach the files.
inline constexpr int kOutOfReach = 77;

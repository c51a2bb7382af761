#pragma once

#include "settings/CLoggerConf.h"

#include <string>

// How a client writes instances: with the attributes that say what is embedded and all quotes
// escaped, as libraries do, or with neither, as people do.
enum class RecordStyle { WithAttributes, Plain };

// The settings as an instance.
std::string RecordText(const CLoggerConf& conf, RecordStyle style);

// A text as it stands between tags.
std::string XmlText(const std::string& text, RecordStyle style);

#pragma once

#include "loggerctl/record/Request.h"

#include <string>
#include <vector>

// Each assignment as "KEY=VALUE".
inline std::vector<std::string> TextsOf(const std::vector<record::CAssignment>& assignments) {
    std::vector<std::string> texts;
    for (const record::CAssignment& assignment : assignments) {
        texts.push_back(assignment.m_address.m_text + "=" + record::TextOf(assignment.m_value));
    }
    return texts;
}

#include "settings/CLoggerConfCommon.h"

#include "settings/LoggerDefinitions.h"

#include <cstdlib>

using std::string;

string::size_type CLoggerConfCommon::CheckCommentLine(const string& line, unsigned int keyPos) {
    const string::size_type comment = line.find('#');
    if (comment != string::npos && comment < keyPos) {
        return string::npos;
    }
    const string::size_type equals = line.find('=');
    if (equals != string::npos && equals >= keyPos) {
        return equals;
    }
    return string::npos;
}

string CLoggerConfCommon::GetTextInParentheses(const string& line, unsigned int keyPos) {
    const string::size_type equals = CheckCommentLine(line, keyPos);
    if (equals == string::npos) {
        return {};
    }
    const string::size_type open = line.find('(', equals);
    const string::size_type close = line.find(')', equals);
    if (open == string::npos || close == string::npos || open >= close) {
        return {};
    }
    return line.substr(open + 1, close - open - 1);
}

bool CLoggerConfCommon::GetEnable(const string& field, bool* enable) {
    const bool hasFalse = field.find(LoggerDefinitions::kFalse) != string::npos;
    const bool hasTrue = field.find(LoggerDefinitions::kTrue) != string::npos;
    if (!hasFalse && !hasTrue) {
        return false;
    }
    *enable = hasTrue;
    return true;
}

long CLoggerConfCommon::GetNumber(const string& text) {
    constexpr int kDecimal = 10;
    return std::strtol(text.c_str(), nullptr, kDecimal);
}

const char* CLoggerConfCommon::GetSwitchWord(bool value) {
    return value ? LoggerDefinitions::kTrue : LoggerDefinitions::kFalse;
}

void CLoggerConfCommon::Rewind(std::ifstream* file) {
    file->clear();
    file->seekg(0, std::ios::beg);
}

#pragma once

#include <cstdint>
#include <fstream>
#include <string>

// The rules of a configuration line that every reader and editor shares. No data.
class CLoggerConfCommon {
public:
    // Decides whether the line assigns the key found at keyPos. Returns the position of the "="
    // that belongs to the key, or npos when the line gives the key no value: a "#" stands before
    // the key, or the line's first "=" does, or there is none.
    static std::string::size_type CheckCommentLine(const std::string& line, unsigned int keyPos);

    // The text between the first "(" and the first ")" behind the key's "=", untouched. Empty when
    // the line gives the key no value, when either is missing, or when they stand the wrong way
    // round.
    static std::string GetTextInParentheses(const std::string& line, unsigned int keyPos);

    // True when the field contains "False" or "True", which sets *enable; "True" wins over "False".
    static bool GetEnable(const std::string& field, bool* enable);

    // The decimal number at the beginning of the text, as strtol reads it: leading blanks and a
    // sign are accepted, what follows the number is ignored, no number is 0.
    static long GetNumber(const std::string& text);

    // The word that the files hold for a switch.
    static const char* GetSwitchWord(bool value);

    // Makes a stream that was read before ready to be read again from its first line.
    static void Rewind(std::ifstream* file);
};

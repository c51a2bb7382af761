#pragma once

#include <string>

// The messages of the management server's daemons, stated plainly and apart from the product. Each
// text is a frame's payload.
class CMessageFormat {
public:
    static bool IsRequest(const std::string& text);
    static bool IsCheckAnswer(const std::string& text);
    static bool IsCallAnswer(const std::string& text);

    // An object as it stands in a message.
    static bool IsObject(const std::string& text);
};

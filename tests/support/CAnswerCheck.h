#pragma once

#include <string>
#include <utility>
#include <vector>

// What every answer of the management server must be, whatever it says: clients fail on anything
// else. States nothing about whether it is the right answer.
class CAnswerCheck {
public:
    using Headers = std::vector<std::pair<std::string, std::string>>;

    // What is wrong with an answer, a line each; nothing when all is well. The headers can be those
    // of a whole answer as it goes over the network, or those that tell about its body alone.
    static std::vector<std::string> Problems(unsigned status, const Headers& headers,
                                             const std::string& body);
};

#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

// A device description, stated plainly and apart from the product.
class CDeviceFormat {
public:
    using Commands = std::map<std::string, std::vector<std::string>>;

    // Takes the lines up to the first wrong one.
    explicit CDeviceFormat(const std::string& text);

    // A text that says this: a setting a line, every word in quotes. No word has a quote or a line
    // feed in it.
    static std::string Write(const Commands& commands, unsigned int timeout);

    Commands m_commands;
    unsigned int m_timeout = 60;
    std::size_t m_wrongLine = 0; // from 1; 0: there is none

private:
    bool Take(const std::string& line);
    bool TakeTimeout(const std::string& value);

    bool m_hasTimeout = false;
};

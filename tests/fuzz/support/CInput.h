#pragma once

#include "settings/CLoggerConf.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <vector>

using Lines = std::list<std::string>;

// A fuzzed input, which is a text that can be read and written by hand: sections between lines of
// "%%".
class CInput {
public:
    // Any bytes make an input. Sections that are not there are empty, the last one takes what is
    // left.
    CInput(const std::uint8_t* data, std::size_t size, std::size_t sections);

    [[nodiscard]] const std::string& Section(std::size_t index) const { return m_sections[index]; }

    // A section as a record: one line "++-+" for the syslog switches, "+ 60 5 90" for the CPU and
    // for the memory monitor, "+ 300 2" for the file-system monitor, then "+ 90 /home" for each
    // row.
    // "+" is on; what is missing is off, 0 or empty; numbers are taken modulo 2^32. In a name "\n"
    // is a line feed, "\0" a zero byte.
    [[nodiscard]] CLoggerConf Conf(std::size_t index) const;

    // A text as the lines of a file, and lines as a text that ends each with a line feed.
    static Lines Split(const std::string& text);
    static std::string Join(const Lines& lines);

private:
    std::vector<std::string> m_sections;
};

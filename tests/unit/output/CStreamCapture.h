#pragma once

#include <string>

// Takes what the process writes to one of its streams, for the life of the object.
class CStreamCapture {
public:
    enum class Kind { File, Terminal };

    // A terminal shows what is written as it is, and is 80 columns wide.
    CStreamCapture(int stream, Kind kind);
    ~CStreamCapture();
    CStreamCapture(const CStreamCapture&) = delete;
    CStreamCapture& operator=(const CStreamCapture&) = delete;

    // All that was written until now.
    const std::string& Text();

private:
    int m_stream;
    int m_former;
    int m_reader = -1;
    std::string m_text;
};

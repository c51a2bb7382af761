#pragma once

#include <cstdlib>
#include <string>
#include <utility>

// A variable of the environment for the time that the object lives.
class CVariable {
public:
    CVariable(std::string name, const std::string& value) : m_name(std::move(name)) {
        setenv(m_name.c_str(), value.c_str(), 1);
    }
    ~CVariable() { unsetenv(m_name.c_str()); }
    CVariable(const CVariable&) = delete;
    CVariable& operator=(const CVariable&) = delete;

private:
    std::string m_name;
};

#pragma once

#include <clocale>
#include <string>

// Sets LC_CTYPE for the life of the object, and the former locale afterwards.
class CLocale {
public:
    explicit CLocale(const char* name) : m_sFormer(std::setlocale(LC_CTYPE, nullptr)) {
        std::setlocale(LC_CTYPE, name);
    }
    ~CLocale() { std::setlocale(LC_CTYPE, m_sFormer.c_str()); }
    CLocale(const CLocale&) = delete;
    CLocale& operator=(const CLocale&) = delete;

private:
    std::string m_sFormer;
};

inline constexpr char kUtf8Locale[] = "C.UTF-8";
inline constexpr char kPlainLocale[] = "C";

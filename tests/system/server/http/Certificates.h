#pragma once

#include <string>

// A self-signed certificate with an ECDSA key, made now, as two PEM texts.
struct CCertificate {
    std::string m_certificate;
    std::string m_key;
};

// It is valid from and until so many seconds from now.
inline constexpr long kDay = 24L * 3600;
CCertificate MakeCertificate(const std::string& name, long from = -60, long until = 30 * kDay);

// Writes both where the front end looks for them.
void InstallCertificate(const CCertificate& certificate);

#pragma once

#include <chrono>
#include <memory>
#include <string>

using SSL_CTX = struct ssl_ctx_st;

namespace wbemd {

// A certificate with its key, ready to serve connections.
struct CTlsIdentity {
    std::shared_ptr<SSL_CTX> m_context; // null when there is a problem
    // Sentences, empty where all is well.
    std::string m_certificateProblem;
    std::string m_keyProblem;
    // A certificate that clients will not trust, now or soon, but that can be served.
    std::string m_warning;
};

// How long before its end a certificate is warned of.
inline constexpr std::chrono::hours kExpiresSoon{14 * 24};

// Reads the PEM files: the certificate with the chain behind it, and its key. TLS 1.2 at least.
CTlsIdentity LoadIdentity(const std::string& certificate, const std::string& key);

} // namespace wbemd

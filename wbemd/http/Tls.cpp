#include "wbemd/http/Tls.h"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <array>
#include <ctime>
#include <system_error>

namespace wbemd {

using std::string;

namespace {

// Forward secrecy and authenticated encryption for TLS 1.2; all of TLS 1.3 is like that.
constexpr char kCiphers[] = "ECDHE+AESGCM:ECDHE+CHACHA20";

// Why the last calls of the library failed.
string TakeReason() {
    const unsigned long error = ERR_peek_error();
    ERR_clear_error();
    if (ERR_SYSTEM_ERROR(error)) {
        return std::system_category().message(ERR_GET_REASON(error));
    }
    const char* const text = ERR_reason_error_string(error);
    return text == nullptr ? "unknown reason" : text;
}

std::shared_ptr<SSL_CTX> MakeContext() {
    std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
    if (context == nullptr || SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) != 1 ||
        SSL_CTX_set_cipher_list(context.get(), kCiphers) != 1) {
        return nullptr;
    }
    // A key that needs a password cannot be served: nobody is there to type it.
    SSL_CTX_set_default_passwd_cb(context.get(), [](char*, int, int, void*) { return 0; });
    // Nothing is remembered of a connection that has ended, and buffers go while it is idle.
    SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
    SSL_CTX_set_num_tickets(context.get(), 0);
    SSL_CTX_set_options(context.get(), SSL_OP_NO_TICKET | SSL_OP_NO_RENEGOTIATION |
                                           SSL_OP_NO_COMPRESSION | SSL_OP_CIPHER_SERVER_PREFERENCE);
    SSL_CTX_set_mode(context.get(), SSL_MODE_RELEASE_BUFFERS | SSL_MODE_ENABLE_PARTIAL_WRITE |
                                        SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    return context;
}

// "2026-11-22 14:00 UTC"
string Written(const ASN1_TIME* time) {
    std::tm parts{};
    std::array<char, sizeof "2026-11-22 14:00 UTC"> text{};
    if (ASN1_TIME_to_tm(time, &parts) == 1) {
        std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M UTC", &parts);
    }
    return text.data();
}

string TimeWarning(const SSL_CTX& context, const string& path) {
    const X509* const certificate = SSL_CTX_get0_certificate(&context);
    const ASN1_TIME* const end = X509_get0_notAfter(certificate);
    std::time_t soon = std::time(nullptr) + std::chrono::seconds(kExpiresSoon).count();
    if (X509_cmp_current_time(end) < 0) {
        return path + ": the certificate has expired. Clients will refuse it: renew it.";
    }
    if (X509_cmp_time(end, &soon) < 0) {
        return path + ": the certificate expires on " + Written(end) +
               ". Clients will refuse it then: renew it before.";
    }
    if (X509_cmp_current_time(X509_get0_notBefore(certificate)) > 0) {
        return path + ": the certificate is not valid yet. Clients will refuse it: set the clock "
                      "or renew it.";
    }
    return {};
}

} // namespace

CTlsIdentity LoadIdentity(const string& certificate, const string& key) {
    CTlsIdentity identity;
    ERR_clear_error();
    const std::shared_ptr<SSL_CTX> context = MakeContext();
    if (context == nullptr) {
        identity.m_certificateProblem = "TLS cannot be set up: " + TakeReason() + ".";
    } else if (SSL_CTX_use_certificate_chain_file(context.get(), certificate.c_str()) != 1) {
        identity.m_certificateProblem =
            certificate + " holds no certificate that can be read: " + TakeReason() + ".";
    } else if (SSL_CTX_use_PrivateKey_file(context.get(), key.c_str(), SSL_FILETYPE_PEM) != 1 ||
               SSL_CTX_check_private_key(context.get()) != 1) {
        identity.m_keyProblem =
            key + " holds no key of the certificate that can be read: " + TakeReason() + ".";
    } else {
        identity.m_context = context;
        identity.m_warning = TimeWarning(*context, certificate);
    }
    return identity;
}

} // namespace wbemd

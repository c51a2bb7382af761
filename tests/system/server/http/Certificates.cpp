#include "tests/system/server/http/Certificates.h"

#include "KzmPaths.h"
#include "tests/support/CTestRoot.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <filesystem>
#include <memory>

namespace fs = std::filesystem;
using std::string;

namespace {

template <class Write>
string PemText(const Write& write) {
    const std::unique_ptr<BIO, void (*)(BIO*)> memory(BIO_new(BIO_s_mem()), BIO_free_all);
    write(memory.get());
    char* text = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &text);
    return {text, static_cast<std::size_t>(size)};
}

} // namespace

CCertificate MakeCertificate(const string& name, long from, long until) {
    const std::unique_ptr<EVP_PKEY, void (*)(EVP_PKEY*)> key(EVP_EC_gen("P-256"), EVP_PKEY_free);
    const std::unique_ptr<X509, void (*)(X509*)> certificate(X509_new(), X509_free);
    X509* const x509 = certificate.get();
    X509_set_version(x509, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(x509), 1);
    X509_gmtime_adj(X509_getm_notBefore(x509), from);
    X509_gmtime_adj(X509_getm_notAfter(x509), until);
    X509_set_pubkey(x509, key.get());
    X509_NAME* const subject = X509_get_subject_name(x509);
    X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
    X509_set_issuer_name(x509, subject);
    X509_sign(x509, key.get(), EVP_sha256());
    return {PemText([&](BIO* memory) { PEM_write_bio_X509(memory, x509); }),
            PemText([&](BIO* memory) {
                PEM_write_bio_PrivateKey(memory, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
            })};
}

void InstallCertificate(const CCertificate& certificate) {
    fs::create_directories(fs::path(KzmPaths::kWbemdCertificate).parent_path());
    WriteFile(KzmPaths::kWbemdCertificate, certificate.m_certificate);
    WriteFile(KzmPaths::kWbemdKey, certificate.m_key);
}

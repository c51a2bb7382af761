#include "providerd/door/CCredentialCache.h"

#include "providerd/door/Secrets.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace providerd {

namespace {

constexpr std::size_t kKeyBytes = 32;

std::string RandomKey() {
    std::string key(kKeyBytes, '\0');
    if (getentropy(key.data(), key.size()) != 0) {
        throw std::system_error(errno, std::generic_category(), "There is no random key");
    }
    return key;
}

} // namespace

CCredentialCache::CCredentialCache(Clock now) : m_now(std::move(now)), m_key(RandomKey()) {}

std::string CCredentialCache::HashOf(const messages::CCredentials& credentials) const {
    // The user's length keeps "ab" with "c" apart from "a" with "bc".
    std::string text;
    const std::size_t bytes = credentials.m_user.size() + credentials.m_password.size();
    text.reserve(bytes + sizeof("18446744073709551615:"));
    text += std::to_string(credentials.m_user.size());
    text += ":";
    text += credentials.m_user;
    text += credentials.m_password;
    std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
    unsigned size = 0;
    const auto* const result =
        HMAC(EVP_sha256(), m_key.data(), static_cast<int>(m_key.size()),
             reinterpret_cast<const unsigned char*>(text.data()), text.size(), hash.data(), &size);
    Wipe(&text);
    if (result == nullptr) {
        throw std::bad_alloc(); // it fails for no other reason
    }
    return {hash.begin(), hash.begin() + size};
}

std::optional<CCredentialCache::CRemembered> CCredentialCache::Find(const std::string& hash) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    const auto entry = m_entries.find(hash);
    if (entry == m_entries.end()) {
        return std::nullopt;
    }
    if (m_now() - entry->second.m_begin >= kRememberedTime) {
        m_entries.erase(entry);
        return std::nullopt;
    }
    return entry->second.m_remembered;
}

void CCredentialCache::Remember(const std::string& hash, const std::string& user,
                                const CRemembered& remembered) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    MakeRoom();
    m_entries[hash] = {user, remembered, m_now()};
}

void CCredentialCache::Renew(const std::string& hash, TimePoint accountTime) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    const auto entry = m_entries.find(hash);
    if (entry != m_entries.end()) {
        entry->second.m_remembered.m_accountTime = accountTime;
    }
}

void CCredentialCache::Forget(const std::string& user) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    for (auto entry = m_entries.begin(); entry != m_entries.end();) {
        entry = entry->second.m_user == user ? m_entries.erase(entry) : std::next(entry);
    }
}

void CCredentialCache::MakeRoom() {
    if (m_entries.size() >= kMost) {
        m_entries.erase(std::min_element(m_entries.begin(), m_entries.end(),
                                         [](const auto& left, const auto& right) {
                                             return left.second.m_begin < right.second.m_begin;
                                         }));
    }
}

} // namespace providerd

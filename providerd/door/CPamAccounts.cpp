#include "providerd/door/CPamAccounts.h"

#include "providerd/door/SystemNames.h"

#include <security/pam_appl.h>

#include <cstdlib>
#include <cstring>

namespace providerd {

namespace {

constexpr char kService[] = "kzmwbem";

// What the conversation and the delay of one handle work on.
struct CTalk {
    const std::string* m_password = nullptr; // null: there is none to be asked for
    std::chrono::milliseconds m_delay{0};
};

void FreeResponses(pam_response* responses, int count) {
    for (int i = 0; i < count; ++i) {
        char* const text = responses[i].resp;
        if (text != nullptr) {
            explicit_bzero(text, std::strlen(text));
            std::free(text);
        }
    }
    std::free(responses);
}

// True when the message is one that can be answered.
bool Respond(const pam_message& message, const CTalk& talk, pam_response* response) {
    if (message.msg_style == PAM_TEXT_INFO || message.msg_style == PAM_ERROR_MSG) {
        return true;
    }
    if (message.msg_style != PAM_PROMPT_ECHO_OFF || talk.m_password == nullptr) {
        return false;
    }
    response->resp = strdup(talk.m_password->c_str());
    return response->resp != nullptr;
}

int Converse(int count, const pam_message** questions, pam_response** answers, void* data) {
    if (count <= 0 || count > PAM_MAX_NUM_MSG) {
        return PAM_CONV_ERR;
    }
    // PAM frees it.
    auto* const responses = static_cast<pam_response*>(
        std::calloc(static_cast<std::size_t>(count), sizeof(pam_response)));
    if (responses == nullptr) {
        return PAM_BUF_ERR;
    }
    for (int i = 0; i < count; ++i) {
        if (!Respond(*questions[i], *static_cast<const CTalk*>(data), responses + i)) {
            FreeResponses(responses, count);
            return PAM_CONV_ERR;
        }
    }
    *answers = responses;
    return PAM_SUCCESS;
}

// In place of PAM's own waiting.
void NoteDelay(int result, unsigned microseconds, void* data) {
    if (result != PAM_SUCCESS) {
        static_cast<CTalk*>(data)->m_delay =
            std::chrono::milliseconds(std::chrono::microseconds(microseconds).count() / 1000);
    }
}

// One conversation with PAM about one user.
class CPamHandle {
public:
    CPamHandle(const std::string& user, const std::string& peer, const std::string* password) {
        m_talk.m_password = password;
        m_result = pam_start(kService, user.c_str(), &m_conversation, &m_handle);
        Set(PAM_RHOST, peer.c_str());
        Set(PAM_FAIL_DELAY, reinterpret_cast<const void*>(NoteDelay));
    }
    ~CPamHandle() {
        if (m_handle != nullptr) {
            pam_end(m_handle, m_result);
        }
    }
    CPamHandle(const CPamHandle&) = delete;
    CPamHandle& operator=(const CPamHandle&) = delete;

    // Takes a step unless an earlier one failed.
    bool Take(int (*step)(pam_handle_t*, int), int flags) {
        m_result = m_result == PAM_SUCCESS ? step(m_handle, flags) : m_result;
        return m_result == PAM_SUCCESS;
    }

    [[nodiscard]] CVerdict Failed(CVerdict::Kind kind) const {
        return {kind, pam_strerror(m_handle, m_result), m_talk.m_delay};
    }

private:
    void Set(int item, const void* value) {
        m_result = m_result == PAM_SUCCESS ? pam_set_item(m_handle, item, value) : m_result;
    }

    CTalk m_talk;
    pam_conv m_conversation{Converse, &m_talk};
    pam_handle_t* m_handle = nullptr;
    int m_result = PAM_SUCCESS;
};

CVerdict AccountVerdict(CPamHandle* handle) {
    return handle->Take(pam_acct_mgmt, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK)
               ? CVerdict{CVerdict::Kind::Good, {}, {}}
               : handle->Failed(CVerdict::Kind::AccountFails);
}

} // namespace

CVerdict CPamAccounts::Authenticate(const messages::CCredentials& credentials,
                                    const std::string& peer) {
    CPamHandle handle(credentials.m_user, peer, &credentials.m_password);
    if (!handle.Take(pam_authenticate, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK)) {
        return handle.Failed(CVerdict::Kind::WrongPassword);
    }
    return AccountVerdict(&handle);
}

CVerdict CPamAccounts::CheckAccount(const std::string& user, const std::string& peer) {
    CPamHandle handle(user, peer, nullptr);
    return AccountVerdict(&handle);
}

std::optional<CIdentity> CPamAccounts::Identify(const std::string& user) {
    return IdentityOf(user);
}

std::optional<gid_t> CPamAccounts::GroupId(const std::string& name) {
    return GroupIdOf(name);
}

} // namespace providerd

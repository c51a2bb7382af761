#include "providerd/CProviderCaller.h"

#include "history/CCallerLock.h"
#include "history/History.h"
#include "provider/MethodResult.h"
#include "providerd/MethodNames.h"
#include "serverbase/ServiceManager.h"
#include "settings/LoggerDefinitions.h"

#include <sys/stat.h>

#include <array>
#include <cstdio>
#include <utility>

namespace providerd {

namespace {

using daemon_base::Level;
using daemon_base::Log;
using messages::CallResult;

constexpr char kReason[] = "SetParameter by a management client";

std::string DescriptionFile() {
    return std::string(KzmPaths::kDeviceFolder) + "/" + LoggerDefinitions::kDevice + ".conf";
}

// A text that is another one once a file was changed or exchanged.
std::string StateOf(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return path + " -\n";
    }
    return path + " " + std::to_string(status.st_dev) + " " + std::to_string(status.st_ino) + " " +
           std::to_string(status.st_ctim.tv_sec) + " " + std::to_string(status.st_ctim.tv_nsec) +
           "\n";
}

CWorkAnswer Answer(CallResult result) {
    CWorkAnswer answer;
    answer.m_result = result;
    return answer;
}

std::string Hexadecimal(HRESULT value) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%08x", static_cast<unsigned int>(value));
    return text.data();
}

// An exception comes with a status that reports failure.
bool IsAnswer(const CCallOutcome& outcome) {
    if (outcome.m_output != nullptr && outcome.m_uiMethodResult == MethodResult::kException) {
        return true;
    }
    return outcome.m_sError.empty() && outcome.m_output != nullptr && outcome.m_status >= 0;
}

} // namespace

CProviderCaller::CProviderCaller(CWorkerOptions options, Kept kept)
    : m_options(std::move(options)),
      m_kept(std::move(kept)),
      m_steps(DescriptionFile(), {[this] { return KeepFiles(); }, {}, {}}) {}

CWorkAnswer CProviderCaller::Call(const CWorkRequest& request) {
    if (!Open()) {
        return Answer(CallResult::NotAvailable);
    }
    const auto inParameters = messages::DecodeObject(request.m_inParameters);
    if (inParameters == nullptr && !request.m_inParameters.empty()) {
        Log(Level::Error, request.m_method + ": what came as its parameters is no object.");
        return Answer(CallResult::Failed);
    }
    return request.m_method == kSetParameter ? CallLocked(request, inParameters.get())
                                             : CallProvider(request, inParameters.get());
}

bool CProviderCaller::Open() {
    const std::string files = StateOf(m_options.m_library) + StateOf(m_options.m_definitions) +
                              StateOf(DescriptionFile());
    if (m_host != nullptr && m_loadedFiles == files) {
        return true;
    }
    m_host.reset(); // before the new one: a library is loaded once
    std::string error;
    m_host = CProviderHost::Open(m_options.m_library, m_options.m_definitions, &error);
    m_loadedFiles = files;
    if (m_host == nullptr) {
        Log(Level::Error, "The provider is not available: " + error);
    }
    return m_host != nullptr;
}

CWorkAnswer CProviderCaller::CallLocked(const CWorkRequest& request,
                                        IWbemClassObject* inParameters) {
    const auto lock = history::CCallerLock::Take(m_options.m_callersLockTime);
    if (!lock) {
        Log(Level::Error, request.m_method + " was not called: " +
                              (lock.error().m_busy
                                   ? "another change of the settings is under way, and did not end "
                                     "in time."
                                   : lock.error().m_problem.m_text));
        return Answer(CallResult::Failed);
    }
    return CallProvider(request, inParameters);
}

CWorkAnswer CProviderCaller::CallProvider(const CWorkRequest& request,
                                          IWbemClassObject* inParameters) {
    m_request = &request;
    m_answer = Answer(CallResult::Done);
    const CCallOutcome outcome = m_host->Call(kClass, request.m_method, inParameters);
    if (m_answer.m_result == CallResult::Done && !IsAnswer(outcome)) {
        Log(Level::Error, request.m_method + " gave no answer (call status " +
                              Hexadecimal(outcome.m_status) + "). " + outcome.m_sError);
        m_answer.m_result = CallResult::Failed;
    }
    if (m_answer.m_result == CallResult::Done) {
        m_answer.m_returnValue = outcome.m_uiMethodResult;
        m_answer.m_outParameters = messages::EncodeObject(*outcome.m_output);
    }
    return std::exchange(m_answer, {});
}

// Under the provider's lock, before the service is stopped. False when it must not be: without one
// of the files the method would fail, too, and leave the service stopped.
bool CProviderCaller::KeepFiles() {
    const auto now = history::CSettingsCopy::OfNow(history::CSettingsCopy::Missing::Refuse);
    const auto id = now ? history::Save(*now, kReason, {m_request->m_user, "", m_request->m_peer})
                        : history::Expected<std::string>(tl::unexpected(now.error()));
    if (!id) {
        Log(Level::Error,
            "The settings were not changed, for they cannot be kept in the history: " +
                id.error().m_text);
        m_answer.m_result = CallResult::NotKept;
        return false;
    }
    m_kept(*id);
    return true;
}

} // namespace providerd

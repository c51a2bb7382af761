#include "host/CCollectingSink.h"

#include "comlib/CIWbemUtil.h"

#include <utility>

HRESULT CCollectingSink::Indicate(long count, IWbemClassObject** objects) {
    if (count < 0 || (count > 0 && objects == nullptr)) {
        return Violate(WbemResult::kInvalidParameter,
                       "it called Indicate with a negative count or without an array of objects");
    }
    for (long i = 0; i < count; ++i) {
        if (objects[i] == nullptr) {
            return Violate(WbemResult::kInvalidParameter,
                           "it gave Indicate a null object (does the class define this method?)");
        }
        if (m_bHasStatus) {
            return Violate(WbemResult::kFailed, "it called Indicate after SetStatus");
        }
        if (m_outcome.m_output != nullptr) {
            return Violate(WbemResult::kFailed, "it delivered more than one output object");
        }
        m_outcome.m_output = std::make_unique<IWbemClassObject>(*objects[i]);
    }
    return WbemResult::kSuccess;
}

HRESULT CCollectingSink::SetStatus(long /*flags*/, unsigned long result, char* /*text*/,
                                   IWbemClassObject* /*object*/) {
    if (m_bHasStatus) {
        return Violate(WbemResult::kFailed, "it called SetStatus more than once");
    }
    m_bHasStatus = true;
    m_outcome.m_status = static_cast<HRESULT>(static_cast<std::uint32_t>(result));
    return WbemResult::kSuccess;
}

CCallOutcome CCollectingSink::TakeOutcome() {
    CheckCompleteness();
    return std::move(m_outcome);
}

void CCollectingSink::CheckCompleteness() {
    const bool hasResult =
        CIWbemUtil::getUIntFromIWbemClassObject(m_outcome.m_output.get(), "ReturnValue",
                                                &m_outcome.m_uiMethodResult) >= 0;
    if (!m_bHasStatus) {
        Violate(WbemResult::kFailed, "it returned without calling SetStatus");
    } else if (m_outcome.m_status < 0) {
        return; // a failure needs no output object
    } else if (m_outcome.m_output == nullptr) {
        Violate(WbemResult::kFailed, "it reported success without delivering an output object");
    } else if (!hasResult) {
        Violate(WbemResult::kFailed,
                "it delivered an output object without an unsigned 32-bit ReturnValue");
    }
}

HRESULT CCollectingSink::Violate(HRESULT answer, const std::string& what) {
    if (m_outcome.m_sError.empty()) {
        m_outcome.m_sError = "The provider broke the rules of a method call: " + what + ".";
    }
    return answer;
}

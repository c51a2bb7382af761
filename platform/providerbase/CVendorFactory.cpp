#include "providerbase/CVendorFactory.h"

#include "comlib/CTraceUtility.h"
#include "comlib/ThreadCancellation.h"
#include "providerbase/CVendor.h"
#include "providerbase/TraceModule.h"

#include "KzmPaths.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <utility>

namespace {

// What a device name may consist of: it becomes part of a path.
const char kDeviceNameCharacters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                     "0123456789_-";

struct CurrentMaker {
    std::mutex m_mutex; // guards the function
    CVendorFactory::Maker m_maker;
};

CurrentMaker& TheMaker() {
    static CurrentMaker maker;
    return maker;
}

bool IsDeviceName(const std::string& name) {
    return !name.empty() && name.find_first_not_of(kDeviceNameCharacters) == std::string::npos;
}

std::unique_ptr<CVendor> MakeFromDescription(const std::string& deviceName,
                                             const std::string& vendorKind) {
    if (!IsDeviceName(deviceName)) {
        CTraceUtility::WriteDebug(kTraceModule, CTraceUtility::TRACE_DBG_FAILURE,
                                  "CVendorFactory::GetVendorObject() the device name \"%s\" is "
                                  "refused; use letters, digits, '_' and '-' only",
                                  deviceName.c_str());
        return nullptr;
    }
    std::optional<CDeviceDescription> description =
        CDeviceDescription::Read(std::string(KzmPaths::kDeviceFolder) + '/' + deviceName + ".conf");
    if (!description) {
        return nullptr;
    }
    return std::make_unique<CVendor>(deviceName, vendorKind, std::move(*description));
}

} // namespace

CVendorFactory::CVendorFactory() = default;

CVendorFactory::~CVendorFactory() noexcept(false) {
    // Every vendor object gets its turn before the first fault goes on.
    std::exception_ptr firstFault;
    while (!m_vendors.empty()) {
        try {
            ReleaseVendorObject(m_vendors.front().get());
        } catch (const ForcedUnwind&) {
            throw; // the list destroys the rest
        } catch (...) {
            if (!firstFault) {
                firstFault = std::current_exception();
            }
        }
    }
    if (firstFault) {
        std::rethrow_exception(firstFault);
    }
}

CVendor* CVendorFactory::GetVendorObject(std::string providerName, std::string deviceName,
                                         std::string vendorKind) {
    Maker maker;
    {
        CurrentMaker& current = TheMaker();
        const std::lock_guard<std::mutex> lock(current.m_mutex);
        maker = current.m_maker;
    }
    std::unique_ptr<CVendor> vendor = maker ? maker(providerName, deviceName, vendorKind)
                                            : MakeFromDescription(deviceName, vendorKind);
    if (!vendor) {
        return nullptr;
    }
    return m_vendors.emplace_back(std::move(vendor)).get();
} // The list owns it. NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks)

void CVendorFactory::ReleaseVendorObject(CVendor* vendor) {
    const auto owned = std::find_if(
        m_vendors.begin(), m_vendors.end(),
        [vendor](const std::unique_ptr<CVendor>& candidate) { return candidate.get() == vendor; });
    if (owned == m_vendors.end()) {
        return;
    }
    static_cast<void>(owned->release());
    m_vendors.erase(owned);
    // Not by the smart pointer: its destructor is noexcept, and a fault in the vendor object's own
    // destructor must come out.
    delete vendor;
}

void CVendorFactory::SetMaker(Maker maker) {
    CurrentMaker& current = TheMaker();
    const std::lock_guard<std::mutex> lock(current.m_mutex);
    current.m_maker = std::move(maker);
}

#pragma once

#include "providerbase/CVendor.h"

class CVendorFactory {
public:
    CVendorFactory() { CScript::Get().Note("CVendorFactory"); }
    ~CVendorFactory() noexcept(false) { CScript::Get().Note("~CVendorFactory"); }

    CVendor* GetVendorObject(std::string providerName, std::string deviceName,
                             std::string vendorKind) {
        CScript::Get().Note("GetVendorObject " + providerName + ", " + deviceName + ", " +
                            vendorKind);
        return CScript::Get().m_bHasVendor ? &m_vendor : nullptr;
    }
    void ReleaseVendorObject(CVendor* vendor) {
        CScript::Get().Note(vendor == &m_vendor ? "ReleaseVendorObject"
                                                : "ReleaseVendorObject of another");
    }

private:
    CVendor m_vendor;
};

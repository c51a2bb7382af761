#pragma once

#include "comlib/KzmApi.h"

#include <functional>
#include <list>
#include <memory>
#include <string>

class CVendor;

// Makes vendor objects and owns them until they are handed back or the factory goes.
class KZM_API CVendorFactory {
public:
    CVendorFactory();
    CVendorFactory(const CVendorFactory&) = delete;
    CVendorFactory& operator=(const CVendorFactory&) = delete;
    ~CVendorFactory() noexcept(false);

    // The vendor object for a device, as its description says
    // (/opt/veltaro/kzm/provider/device/<device>.conf). Null when there is none: no description,
    // one that was refused (traced), or a device name of other characters than letters, digits, '_'
    // and
    // '-'. The factory stays the owner.
    CVendor* GetVendorObject(std::string providerName, std::string deviceName,
                             std::string vendorKind);

    // Destroys a vendor object of this factory. Null and objects of others are left alone.
    void ReleaseVendorObject(CVendor* vendor);

    // For hosts that bring vendor objects of their own, and for tests: from now on every factory of
    // this process asks this function instead of the descriptions. An empty one goes back to them.
    using Maker = std::function<std::unique_ptr<CVendor>(const std::string& providerName,
                                                         const std::string& deviceName,
                                                         const std::string& vendorKind)>;
    static void SetMaker(Maker maker);

private:
    std::list<std::unique_ptr<CVendor>> m_vendors;
};

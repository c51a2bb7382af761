#pragma once

#include "providerbase/CVELTARO_ServerService.h"

#include <memory>
#include <string>

// A loaded provider library and the one provider object that its `create` made.
class CProviderLibrary {
public:
    // Loads the library and calls its `create`. A path without a slash names a file in the current
    // folder: the loader's search path is never used. On failure null comes back, nothing stays
    // loaded, and *error names the file and says what is wrong and what to do.
    static std::unique_ptr<CProviderLibrary> Load(const std::string& path, std::string* error);

    // Destroys the provider object, then unloads the library.
    ~CProviderLibrary();
    CProviderLibrary(const CProviderLibrary&) = delete;
    CProviderLibrary& operator=(const CProviderLibrary&) = delete;

    // Belongs to this object; never null.
    [[nodiscard]] CVELTARO_ServerService* GetProvider() const { return m_provider.get(); }

private:
    struct CUnloader {
        void operator()(void* handle) const;
    };
    using Handle = std::unique_ptr<void, CUnloader>;
    using Provider = std::unique_ptr<CVELTARO_ServerService>;

    CProviderLibrary(Handle handle, Provider provider);
    static Handle Open(const std::string& path, std::string* error);
    static Provider Create(void* handle, const std::string& path, std::string* error);

    // In this order: the object's code is in the library.
    Handle m_handle;
    Provider m_provider;
};

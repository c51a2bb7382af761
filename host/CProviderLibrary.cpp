#include "host/CProviderLibrary.h"

#include "comlib/ThreadCancellation.h"

#include <dlfcn.h>

#include <exception>
#include <utility>

namespace {

using CreateFunction = void* (*)();

// The reason for the last failure of the loader.
std::string LoaderError() {
    const char* text = dlerror();
    return text == nullptr ? "unknown reason" : text;
}

} // namespace

std::unique_ptr<CProviderLibrary> CProviderLibrary::Load(const std::string& path,
                                                         std::string* error) {
    Handle handle = Open(path, error);
    if (handle == nullptr) {
        return nullptr;
    }
    Provider provider = Create(handle.get(), path, error);
    if (provider == nullptr) {
        return nullptr;
    }
    return std::unique_ptr<CProviderLibrary>(
        new CProviderLibrary(std::move(handle), std::move(provider)));
}

CProviderLibrary::Handle CProviderLibrary::Open(const std::string& path, std::string* error) {
    const bool hasFolder = path.find('/') != std::string::npos;
    const std::string file = hasFolder ? path : "./" + path;
    Handle handle(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL));
    if (handle == nullptr) {
        *error = path + ": cannot be loaded (" + LoaderError() +
                 "); install the provider library or name another file";
    }
    return handle;
}

CProviderLibrary::Provider CProviderLibrary::Create(void* handle, const std::string& path,
                                                    std::string* error) {
    const std::string advice = "; install a provider library that fits this host";
    const auto create = reinterpret_cast<CreateFunction>(dlsym(handle, "create"));
    if (create == nullptr) {
        *error = path + ": is not a provider library: it exports no function create" + advice;
        return nullptr;
    }

    // What is thrown may have its code in the library: only its text outlives the handlers.
    std::string reason = "returned no provider object";
    try {
        if (void* provider = create()) {
            // Providers derive by single inheritance: the object begins with its base.
            return Provider(static_cast<CVELTARO_ServerService*>(provider));
        }
    } catch (const ForcedUnwind&) {
        throw;
    } catch (const std::exception& exception) {
        reason = std::string("threw an exception: ") + exception.what();
    } catch (...) {
        reason = "threw an exception of an unknown type";
    }
    *error = path + ": its function create " + reason + advice;
    return nullptr;
}

CProviderLibrary::CProviderLibrary(Handle handle, Provider provider)
    : m_handle(std::move(handle)),
      m_provider(std::move(provider)) {}

CProviderLibrary::~CProviderLibrary() {
    const CCancellationGuard guard;
    m_provider.reset();
    m_handle.reset();
}

void CProviderLibrary::CUnloader::operator()(void* handle) const {
    dlclose(handle);
}

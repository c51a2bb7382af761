#include "host/CProviderHost.h"

#include "host/CCimXmlReader.h"
#include "host/CClassRepository.h"
#include "host/CCollectingSink.h"
#include "host/CProviderLibrary.h"

#include "comlib/ThreadCancellation.h"
#include "providerbase/IWbemContext.h"

#include <exception>
#include <optional>
#include <utility>
#include <vector>

namespace {

constexpr char kProviderClass[] = "VELTARO_ToolServiceLogger";
constexpr char kDefinitionsAdvice[] = "; install the class definitions or name another file";

std::unique_ptr<CClassRepository> LoadClasses(const std::string& path, std::string* error) {
    const std::optional<std::vector<CCimClass>> classes = CCimXmlReader::ReadFile(path, error);
    if (!classes) {
        *error += kDefinitionsAdvice;
        return nullptr;
    }
    auto repository = std::make_unique<CClassRepository>(*classes);
    if (!repository->Holds(kProviderClass)) {
        *error = path + ": does not define the class " + kProviderClass + kDefinitionsAdvice;
        return nullptr;
    }
    return repository;
}

// Texts from files and libraries become part of messages; these must stay one line.
std::string OneLine(std::string text) {
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7F') {
            c = ' ';
        }
    }
    return text;
}

} // namespace

struct CProviderHost::Parts {
    std::unique_ptr<CClassRepository> m_repository; // outlives the provider that uses it
    std::unique_ptr<CProviderLibrary> m_library;
};

std::unique_ptr<CProviderHost> CProviderHost::Open(const std::string& libraryPath,
                                                   const std::string& definitionsPath,
                                                   std::string* error) {
    auto parts = std::make_unique<Parts>();
    parts->m_repository = LoadClasses(definitionsPath, error);
    if (parts->m_repository != nullptr) {
        parts->m_library = CProviderLibrary::Load(libraryPath, error);
    }
    if (parts->m_library == nullptr) {
        *error = OneLine(std::move(*error));
        return nullptr;
    }
    parts->m_library->GetProvider()->SetServices(parts->m_repository.get());
    return std::unique_ptr<CProviderHost>(new CProviderHost(std::move(parts)));
}

CProviderHost::CProviderHost(std::unique_ptr<Parts> parts) : m_parts(std::move(parts)) {}

CProviderHost::~CProviderHost() = default;

CCallOutcome CProviderHost::Call(const std::string& className, const std::string& methodName,
                                 IWbemClassObject* inParams) {
    std::string classText = className; // the provider gets texts that it may write to
    std::string methodText = methodName;
    IWbemContext context;
    CCollectingSink sink;
    std::string thrown;
    try {
        m_parts->m_library->GetProvider()->ExecMethodAsync(classText.data(), methodText.data(), 0,
                                                           &context, inParams, &sink);
    } catch (const ForcedUnwind&) {
        throw;
    } catch (const std::exception& exception) {
        thrown = std::string(" (") + exception.what() + ")";
    } catch (...) {
        thrown = " (of an unknown type)";
    }

    CCallOutcome outcome = sink.TakeOutcome();
    if (!thrown.empty()) {
        outcome.m_sError = OneLine("The provider broke the rules of a method call: it threw an "
                                   "exception out of ExecMethodAsync" +
                                   thrown + ".");
    }
    return outcome;
}

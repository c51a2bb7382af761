#include "loggerctl/record/CRecordFile.h"

#include "host/CCimXmlReader.h"
#include "host/CClassRepository.h"
#include "loggerctl/output/CSafeText.h"
#include "loggerctl/record/CJsonRecord.h"
#include "loggerctl/record/LoggerObjects.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>

namespace {

constexpr char kStandardInput[] = "-";
constexpr std::size_t kMaximumSize = std::size_t{16} * 1024 * 1024;

std::string NameOf(const std::string& path) {
    return path == kStandardInput ? "standard input" : CSafeText::Escape(path);
}

// Hands out class definitions and keeps them.
class CDefinitions {
public:
    explicit CDefinitions(const std::vector<CCimClass>& classes) : m_repository(classes) {}

    // Null for an unknown name; valid as long as this object.
    const IWbemClassObject* Find(const std::string& className) {
        auto& kept = m_kept[className];
        IWbemClassObject* definition = nullptr;
        if (kept == nullptr &&
            m_repository.GetObject(className, 0, nullptr, &definition, nullptr) >= 0) {
            kept.reset(definition);
        }
        return kept.get();
    }

private:
    struct Release {
        void operator()(IWbemClassObject* object) const { object->Release(); }
    };
    CClassRepository m_repository;
    std::map<std::string, std::unique_ptr<IWbemClassObject, Release>> m_kept;
};

// Reads to the end; pipes are as good as files.
bool ReadAll(std::istream* stream, std::string* text, std::string* reason) {
    std::array<char, 65536> buffer{};
    errno = 0;
    while (stream->read(buffer.data(), buffer.size()) || stream->gcount() > 0) {
        text->append(buffer.data(), static_cast<std::size_t>(stream->gcount()));
        if (text->size() > kMaximumSize) {
            *reason = "it is longer than 16 MiB";
            return false;
        }
    }
    if (stream->eof()) {
        return true;
    }
    *reason = std::strerror(errno != 0 ? errno : EIO);
    return false;
}

bool ReadText(const std::string& path, std::string* text, std::string* reason) {
    if (path == kStandardInput) {
        return ReadAll(&std::cin, text, reason);
    }
    errno = 0;
    std::ifstream file(path);
    if (!file) {
        *reason = std::strerror(errno);
        return false;
    }
    return ReadAll(&file, text, reason);
}

// A reason may end in a question.
std::string Sentence(const std::string& text) {
    return text.back() == '?' ? text : text + ".";
}

CRecordFile Failed(ExitCode exitCode, const std::string& error) {
    CRecordFile file;
    file.m_exitCode = exitCode;
    file.m_sError = error;
    return file;
}

} // namespace

CRecordFile CRecordFile::Read(const std::string& path, const std::string& definitionsFile) {
    std::string text;
    std::string reason;
    if (!ReadText(path, &text, &reason)) {
        return Failed(ExitCode::Usage, NameOf(path) + " cannot be read: " + reason + ".");
    }
    const std::optional<std::vector<CCimClass>> classes =
        CCimXmlReader::ReadFile(definitionsFile, &reason);
    if (!classes) {
        return Failed(ExitCode::NotLoaded, CSafeText::Escape(reason) + ".");
    }
    CDefinitions definitions(*classes);
    const IWbemClassObject* definition = definitions.Find(LoggerObjects::kLoggerConfClass);
    if (definition == nullptr) {
        return Failed(ExitCode::NotLoaded, CSafeText::Escape(definitionsFile) +
                                               ": does not define the class " +
                                               LoggerObjects::kLoggerConfClass + ".");
    }
    CRecordFile file;
    file.m_record = CJsonRecord::FromText(
        text, *definition,
        [&definitions](const std::string& className) { return definitions.Find(className); },
        &reason);
    return file.m_record != nullptr
               ? std::move(file)
               : Failed(ExitCode::Usage, Sentence("In " + NameOf(path) + ": " + reason));
}

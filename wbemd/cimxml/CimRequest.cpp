#include "wbemd/cimxml/CimRequest.h"

#include "wbemd/cimxml/CEnvelopeReader.h"

#include <new>
#include <optional>

namespace wbemd {

namespace {

constexpr std::string_view kNotWellFormed = "request-not-well-formed";
constexpr std::string_view kNotValid = "request-not-valid";

// Whether a version is the major one, a dot and digits.
bool IsVersion(std::string_view version, std::string_view major) {
    if (version.substr(0, major.size()) != major) {
        return false;
    }
    const std::string_view minor = version.substr(major.size());
    return !minor.empty() && minor.find_first_not_of("0123456789") == std::string_view::npos;
}

// An absent version is left to the check of the whole envelope.
std::optional<CRefusal> CheckVersion(const CXmlElement& element, std::string_view attribute,
                                     std::string_view major, std::string_view cimError) {
    const std::string* version = element.FindAttribute(attribute);
    if (version == nullptr || IsVersion(*version, major)) {
        return std::nullopt;
    }
    return CRefusal{501, cimError,
                    std::string(attribute) + " must be " + std::string(major) + "0 or another " +
                        std::string(major) + "x."};
}

std::optional<CRefusal> CheckMessage(const CXmlElement& message) {
    if (auto refusal =
            CheckVersion(message, "PROTOCOLVERSION", "1.", "unsupported-protocol-version")) {
        return refusal;
    }
    for (const CXmlElement& child : message.m_children) {
        if (child.m_sName == "MULTIREQ") {
            return CRefusal{501, "multiple-requests-unsupported",
                            "Send one request in each message."};
        }
    }
    return std::nullopt;
}

std::optional<CRefusal> CheckVersions(const CXmlElement& root) {
    if (root.m_sName != "CIM") {
        return std::nullopt;
    }
    if (auto refusal = CheckVersion(root, "CIMVERSION", "2.", "unsupported-cim-version")) {
        return refusal;
    }
    if (auto refusal = CheckVersion(root, "DTDVERSION", "2.", "unsupported-dtd-version")) {
        return refusal;
    }
    for (const CXmlElement& child : root.m_children) {
        if (child.m_sName == "MESSAGE") {
            return CheckMessage(child);
        }
    }
    return std::nullopt;
}

CRefusal RefusalOf(const CXmlError& error) {
    if (error.m_kind == CXmlError::Kind::NoMemory) {
        throw std::bad_alloc();
    }
    const bool isWellFormed = error.m_kind == CXmlError::Kind::Refused;
    return {400, isWellFormed ? kNotValid : kNotWellFormed, error.Text() + "."};
}

} // namespace

tl::expected<CXmlDocument, CRefusal> ParseRequest(std::string_view body) {
    CXmlError error;
    std::optional<CXmlDocument> document =
        CXmlDocument::Parse(body, &error, CXmlLimits::ForStrangers());
    if (!document) {
        return tl::unexpected(RefusalOf(error));
    }
    return std::move(*document);
}

tl::expected<CCimRequest, CRefusal> ReadRequest(const CXmlElement& root) {
    if (auto refusal = CheckVersions(root)) {
        return tl::unexpected(std::move(*refusal));
    }
    CEnvelopeReader reader;
    if (!reader.Read(root)) {
        return tl::unexpected(CRefusal{400, kNotValid, reader.GetError() + "."});
    }
    return std::move(reader.m_request);
}

std::string_view StripSlashes(std::string_view path) {
    const std::size_t first = path.find_first_not_of('/');
    if (first == std::string_view::npos) {
        return {};
    }
    return path.substr(first, path.find_last_not_of('/') - first + 1);
}

} // namespace wbemd

#include "loggerctl/record/JsonRecord.h"

#include "loggerctl/output/Console.h"
#include "loggerctl/output/SafeText.h"
#include "settings/LoggerDefinitions.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

namespace record {

namespace {

using namespace LoggerDefinitions;
using Json = nlohmann::ordered_json;
using output::ExitCode;
using output::Expected;
using output::Fail;
using Texts = std::vector<std::string>;

constexpr char kStandardInput[] = "-";
constexpr std::size_t kMaximumSize = std::size_t{16} * 1024 * 1024;

Json ToJson(const CMember& member) {
    return std::visit([](const auto* value) { return Json(*value); }, member);
}

// Most names stand in JSON as they are.
bool IsPlain(const std::string& name) {
    return std::all_of(name.begin(), name.end(),
                       [](char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; });
}

// A name as members of the row.
std::string NameText(const std::string& name) {
    if (IsPlain(name)) {
        return "\"" + std::string(kVolumeName) + "\": \"" + name + "\"";
    }
    const bool isText = output::IsValidUtf8(name);
    std::string text = output::ToText(isText ? name : output::BytesToHex(name));
    text.pop_back(); // the newline
    return isText ? "\"" + std::string(kVolumeName) + "\": " + text
                  : "\"" + std::string(kVolumeName) + "\": null,\n        \"" + kVolumeNameBytes +
                        "\": " + text;
}

// The elements of the list. They are written as they come: to build ten thousand objects first
// would take longer than all the rest.
std::string RowsText(const CLoggerConf& conf, const std::optional<CUsages>& usages) {
    std::string text;
    std::size_t index = 0;
    for (const CLoggerFsThresholdConf& row : conf.m_FsUsageMonitorConf.m_FsThresholdConfList) {
        text += text.empty() ? "\n      {\n        " : ",\n      {\n        ";
        text += NameText(row.m_sVolumeName);
        text.append(",\n        \"").append(kThreshold).append("\": ");
        text += std::to_string(row.m_iThreshold);
        text.append(",\n        \"").append(kVolMonitoringEnable).append("\": ");
        text += row.m_bVolMonitoringEnable ? "true" : "false";
        if (usages) {
            const std::optional<int> usage = usages->at(index++);
            text.append(",\n        \"").append(kInUse).append("\": ");
            text += usage ? std::to_string(*usage) : "null";
        }
        text += "\n      }";
    }
    return text.empty() ? text : text + "\n    ";
}

bool IsOfGroups(const CKey& key, const Texts& groups) {
    const std::string name = key.m_name;
    return groups.empty() ||
           std::find(groups.begin(), groups.end(), name.substr(0, name.find('.'))) != groups.end();
}

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
    *reason = std::strerror(errno != 0 ? errno : EIO);
    return stream->eof();
}

} // namespace

std::string ToJson(const CLoggerConf& conf, const Texts& groups,
                   const std::optional<CUsages>& usages) {
    CLoggerConf copy(conf); // the table gives access to members
    Json record = Json::object();
    for (const CKey& key : Keys()) {
        if (IsOfGroups(key, groups)) {
            record[key.m_part][key.m_property] = ToJson(key.m_member(copy));
        }
    }
    if (!record.contains(kFsUsageMonitorConf)) {
        return output::ToText(record);
    }
    record[kFsUsageMonitorConf][kFsThresholdConfList] = Json::array();
    std::string text = output::ToText(record);
    return text.insert(text.rfind(']'), RowsText(conf, usages)); // the list is the last member
}

Expected<std::vector<CAssignment>> ReadRecord(const std::string& path) {
    const bool isStandardInput = path == kStandardInput;
    const std::string source = isStandardInput ? "standard input" : output::Escape(path);
    std::string text;
    std::string reason;
    errno = 0;
    std::ifstream file;
    if (!isStandardInput) {
        file.open(path);
        reason = std::strerror(errno);
    }
    if ((!isStandardInput && !file) ||
        !ReadAll(isStandardInput ? &std::cin : &file, &text, &reason)) {
        return Fail(ExitCode::Usage, source + " cannot be read: " + reason + ".");
    }
    return FromJson(text, source);
}

} // namespace record

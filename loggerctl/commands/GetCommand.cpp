#include "loggerctl/commands/Commands.h"
#include "loggerctl/commands/SettingsView.h"
#include "loggerctl/commands/UsageProbe.h"
#include "loggerctl/output/SafeText.h"
#include "loggerctl/record/JsonRecord.h"

#include <unistd.h>

#include <algorithm>

namespace commands {

namespace {

using output::CAnswer;
using output::Expected;
using Json = nlohmann::ordered_json;
using Texts = std::vector<std::string>;

// What the words of the command line ask for.
struct CChoice {
    Texts m_groups;                            // of tables; none: all
    std::vector<record::CAddress> m_addresses; // of single values; none: tables
    bool m_named = false;                      // the values are to stand behind their keys
};

Expected<CChoice> ReadChoice(const Texts& words) {
    CChoice choice;
    if (std::all_of(words.begin(), words.end(), record::IsGroup)) {
        choice.m_groups = words;
        return choice;
    }
    auto addresses = record::ParseKeys(words);
    if (!addresses) {
        addresses.error().m_reasons = {"See \"loggerctl get --help\" for the keys."};
        return tl::unexpected(addresses.error());
    }
    choice.m_addresses = std::move(*addresses);
    choice.m_named = std::any_of(words.begin(), words.end(), record::IsGroup);
    return choice;
}

// Why an address finds nothing among the monitored file systems; it may find some among all of
// them.
output::CFailure NotFound(const record::CAddress& address, CLoggerConf* all,
                          const output::CFailure& failure) {
    if (!record::CSettings(all).Find(address)) {
        return failure;
    }
    return {output::ExitCode::Usage,
            "'" + output::Escape(address.m_text) + "' means no file system that is monitored.",
            {"Without --monitored it means others, too."},
            {}};
}

// With their keys, also where a pattern may stand for many. `all` has the file systems that are not
// monitored, too.
Result Values(const CChoice& choice, CLoggerConf* conf, CLoggerConf* all) {
    const std::vector<record::CAddress>& addresses = choice.m_addresses;
    record::CSettings settings(conf);
    const bool named = choice.m_named || !std::all_of(addresses.begin(), addresses.end(),
                                                      [&](const record::CAddress& address) {
                                                          return settings.IsExact(address);
                                                      });
    CAnswer answer;
    answer.m_document = Json::object();
    for (const record::CAddress& address : addresses) {
        const auto found = settings.Find(address);
        if (!found) {
            return tl::unexpected(NotFound(address, all, found.error()));
        }
        for (const record::CSetting& setting : *found) {
            const record::CValue value = record::ValueOf(setting.m_member);
            answer.m_text +=
                (named ? output::Escape(setting.m_text) + "=" : "") + record::TextOf(value) + "\n";
            const std::string name = output::JsonString(setting.m_text).get<std::string>();
            answer.m_document[name] = std::visit([](auto of) { return Json(of); }, value);
        }
    }
    return answer;
}

record::CUsages AskUsages(const CLoggerConf& conf) {
    Texts mountPoints;
    for (const CLoggerFsThresholdConf& row : conf.m_FsUsageMonitorConf.m_FsThresholdConfList) {
        mountPoints.push_back(row.m_sVolumeName);
    }
    return AskUsages(mountPoints, CUsageLimits());
}

} // namespace

Result Get(const output::CConsole& console, const agent::CProviderFiles& files,
           const CGetOptions& options) {
    const Expected<CChoice> choice = ReadChoice(options.m_words);
    if (!choice) {
        return tl::unexpected(choice.error());
    }
    Expected<CLoggerConf> conf = agent::ReadSettings(files);
    if (!conf) {
        return tl::unexpected(conf.error());
    }
    CLoggerConf all(*conf);
    if (options.m_monitored) {
        conf->m_FsUsageMonitorConf.m_FsThresholdConfList.remove_if(
            [](const CLoggerFsThresholdConf& row) { return !row.m_bVolMonitoringEnable; });
    }
    if (!choice->m_addresses.empty()) {
        return Values(*choice, &*conf, &all);
    }
    const bool isJson = console.GetFormat() == output::Format::Json;
    const bool hasFileSystems =
        choice->m_groups.empty() ||
        std::find(choice->m_groups.begin(), choice->m_groups.end(), "fs") != choice->m_groups.end();
    std::optional<record::CUsages> usages;
    if (hasFileSystems && (isJson ? options.m_usage : !options.m_noUsage)) {
        usages = AskUsages(*conf);
    }
    CAnswer answer;
    if (isJson) {
        answer.m_json = [conf = std::move(*conf), groups = choice->m_groups, usages] {
            return record::ToJson(conf, groups, usages);
        };
    } else {
        answer.m_text =
            SettingsText(*conf, choice->m_groups, usages, output::CTerminal::Of(STDOUT_FILENO));
    }
    return answer;
}

} // namespace commands

// A record on its way into both files and back. The input is what the mount command prints, a
// record, agent.cfg, then alert.cfg.

#include "tests/fuzz/support/CAgentFormat.h"
#include "tests/fuzz/support/CAlertFormat.h"
#include "tests/fuzz/support/CFileInMemory.h"
#include "tests/fuzz/support/CMountFormat.h"
#include "tests/fuzz/support/CMountOutput.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/CWholeRecord.h"
#include "tests/fuzz/support/FuzzTarget.h"

namespace {

constexpr std::size_t kMount = 0;
constexpr std::size_t kRecord = 1;
constexpr std::size_t kAgent = 2;
constexpr std::size_t kAlert = 3;
constexpr std::size_t kSections = 4;

// What a file must hold once it was edited.
std::string Text(const EditedLines& lines) {
    std::string text;
    for (const CEditedLine& line : lines) {
        text += line.m_sText + '\n';
    }
    return text;
}

class CFiles {
public:
    explicit CFiles(const CInput& input)
        : m_input(input),
          m_agent("agent.cfg", input.Section(kAgent)),
          m_alert("alert.cfg", input.Section(kAlert)) {}

    void CheckLoad() const;
    void CheckEdit(const CLoggerConf& conf) const;

private:
    [[nodiscard]] CLoggerConf Load() const { return {m_agent.Path(), m_alert.Path()}; }
    [[nodiscard]] bool Edit(const CLoggerConf& conf) const {
        return conf.EditConfigFile(m_agent.Path(), m_alert.Path());
    }
    void RequireKept(const CLoggerConf& conf, const Lines& agent, const Lines& alert) const;

    const CInput& m_input;
    CFileInMemory m_agent;
    CFileInMemory m_alert;
};

void CFiles::CheckLoad() const {
    const CLoggerConf read = Load();
    CProperty::Require(read.m_iStatus == 0 || CWholeRecord::IsSame(read, CLoggerConf()),
                       "a record that cannot be read holds its defaults");
    CProperty::RequireEqual(m_input.Section(kAgent), m_agent.Text(),
                            "reading leaves agent.cfg alone");
    CProperty::RequireEqual(m_input.Section(kAlert), m_alert.Text(),
                            "reading leaves alert.cfg alone");
}

void CFiles::CheckEdit(const CLoggerConf& conf) const {
    const Lines agent = CInput::Split(m_input.Section(kAgent));
    const Lines alert = CInput::Split(m_input.Section(kAlert));
    const auto wantedAgent = CAgentFormat::Edit(agent, CAgentFormat::Of(conf.m_SyslogOutputConf));
    const auto wantedAlert = CAlertFormat::Edit(alert, conf);
    const bool isDone = Edit(conf);

    CProperty::Require(isDone == (wantedAgent && wantedAlert),
                       "the files are edited exactly when both can be");
    CProperty::RequireEqual(
        wantedAgent ? Text(*wantedAgent) : m_input.Section(kAgent), m_agent.Text(),
        "agent.cfg holds the switches, or what it held where it cannot be edited");
    CProperty::RequireEqual(isDone ? Text(*wantedAlert) : m_input.Section(kAlert), m_alert.Text(),
                            "alert.cfg holds the monitors, or what it held where an edit failed");
    if (isDone) {
        RequireKept(conf, agent, alert);
    }
}

void CFiles::RequireKept(const CLoggerConf& conf, const Lines& agent, const Lines& alert) const {
    const auto mounted = CMountFormat::Read(m_input.Section(kMount));
    if (!CAgentFormat::IsPlain(agent)) {
        return;
    }
    if (mounted && CAlertFormat::IsKept(alert, conf, *mounted)) {
        const CLoggerConf read = Load();
        CProperty::Require(read.m_iStatus == 0 && conf.Compare(&read) && read.Compare(&conf),
                           "what is written reads back equal");
    }
    if (CAlertFormat::IsStable(alert, conf)) {
        const std::string once = m_agent.Text() + m_alert.Text();
        CProperty::Require(Edit(conf), "what was edited can be edited");
        CProperty::RequireEqual(once, m_agent.Text() + m_alert.Text(),
                                "editing twice equals editing once");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CInput input(data, size, kSections);
    CMountOutput::Set(input.Section(kMount));
    const CLoggerConf conf = input.Conf(kRecord);
    const CFiles files(input);
    files.CheckLoad();
    files.CheckEdit(conf);
    return 0;
}

#include "providerbase/CVendor.h"

#include "comlib/CTraceUtility.h"
#include "providerbase/CCommandRunner.h"
#include "providerbase/TraceModule.h"

#include <utility>

namespace {

constexpr int kNotSupported = -1;

} // namespace

CVendor::CVendor(std::string deviceName, std::string vendorKind, CDeviceDescription description)
    : m_sDeviceName(std::move(deviceName)),
      m_sVendorKind(std::move(vendorKind)),
      m_description(std::move(description)) {}

CVendor::~CVendor() noexcept(false) = default;

std::string CVendor::GetDeviceName() {
    return m_sDeviceName;
}

std::string CVendor::GetVendorKind() {
    return m_sVendorKind;
}

bool CVendor::HasCommand(const std::string& command) {
    return m_description.m_commands.count(command) != 0;
}

int CVendor::ExecuteCommand(const std::string& command) {
    int answer = CCommandRunner::kNotRun;
    const auto known = m_description.m_commands.find(command);
    if (known == m_description.m_commands.end()) {
        CTraceUtility::WriteDebug(
            kTraceModule, CTraceUtility::TRACE_DBG_FAILURE,
            "CVendor::ExecuteCommand() the description of device \"%s\" has no command \"%s\"; add "
            "the line \"%s=<command line>\"",
            m_sDeviceName.c_str(), command.c_str(), command.c_str());
    } else {
        answer = CCommandRunner::Run(known->second, m_description.m_timeout);
    }
    CTraceUtility::WriteDebug(kTraceModule, CTraceUtility::TRACE_DBG_VALUE,
                              "CVendor::ExecuteCommand() [%s] %s %s=%d", m_sOwner.c_str(),
                              m_sDeviceName.c_str(), command.c_str(), answer);
    return answer;
}

// clang-format off
int CVendor::Reserved7() { return kNotSupported; }
int CVendor::Reserved8() { return kNotSupported; }
int CVendor::Reserved9() { return kNotSupported; }
int CVendor::Reserved10() { return kNotSupported; }
int CVendor::Reserved11() { return kNotSupported; }
int CVendor::Reserved12() { return kNotSupported; }
int CVendor::Reserved13() { return kNotSupported; }
int CVendor::Reserved14() { return kNotSupported; }
int CVendor::Reserved15() { return kNotSupported; }
int CVendor::Reserved16() { return kNotSupported; }
int CVendor::Reserved17() { return kNotSupported; }
int CVendor::Reserved18() { return kNotSupported; }
int CVendor::Reserved19() { return kNotSupported; }
int CVendor::Reserved20() { return kNotSupported; }
// clang-format on

void CVendor::SetOwnerProvider(std::string providerName, std::string providerVersion) {
    m_sOwner = providerName + ' ' + providerVersion;
}

std::string CVendor::FindProblem(const std::string& command) const {
    const auto known = m_description.m_commands.find(command);
    if (known == m_description.m_commands.end()) {
        return "The description of device \"" + m_sDeviceName + "\" has no command \"" + command +
               "\"; add the line \"" + command + "=<command line>\"";
    }
    const std::string problem = CCommandRunner::FindProblem(known->second);
    return problem.empty() ? ""
                           : "The command " + command + " cannot be run: \"" +
                                 known->second.front() + "\" " + problem;
}

std::string CVendor::FindProgram(const std::string& command) const {
    const auto known = m_description.m_commands.find(command);
    return known == m_description.m_commands.end() ? ""
                                                   : CCommandRunner::FindProgram(known->second);
}

void CVendor::EndCommands() {
    CCommandRunner::EndAll();
}

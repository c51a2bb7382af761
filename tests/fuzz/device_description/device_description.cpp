// Device descriptions. The input is the file.

#include "comlib/CTraceUtility.h"
#include "providerbase/CDeviceDescription.h"
#include "tests/fuzz/support/CDeviceFormat.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/FuzzTarget.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

using std::string;

namespace {

constexpr std::size_t kMostBytes = 65536;

// One file in memory for all inputs, of the kind that is trusted.
int TheFile() {
    static const int descriptor = [] {
        const int made = memfd_create("description", MFD_CLOEXEC);
        CProperty::Require(made >= 0 && fchmod(made, S_IRUSR | S_IWUSR) == 0, "a file can be made");
        return made;
    }();
    return descriptor;
}

struct CReading {
    std::optional<CDeviceDescription> m_description;
    std::vector<string> m_reasons; // behind the path
};

CReading Read(const string& text) {
    const string path = "/proc/self/fd/" + std::to_string(TheFile());
    CProperty::Require(ftruncate(TheFile(), 0) == 0 &&
                           pwrite(TheFile(), text.data(), text.size(), 0) ==
                               static_cast<ssize_t>(text.size()),
                       "the file can be written");
    CReading reading;
    const string beginning = "CDeviceDescription::Read() " + path + " ";
    CTraceUtility::SetListener(
        CTraceUtility::TRACE_DBG_FAILURE, [&](const CTraceUtility::Line& line) {
            CProperty::Require(line.m_sText.rfind(beginning, 0) == 0, "a refusal names the file");
            reading.m_reasons.push_back(line.m_sText.substr(beginning.size()));
        });
    reading.m_description = CDeviceDescription::Read(path);
    CTraceUtility::SetListener(0, nullptr);
    return reading;
}

void RequireSame(const CDeviceDescription& left, const CDeviceDescription& right,
                 const char* property) {
    CProperty::Require(left.m_commands == right.m_commands && left.m_timeout == right.m_timeout,
                       property);
}

void RequireRefusal(const CReading& reading, std::size_t line) {
    const string place = "line " + std::to_string(line) + " ";
    CProperty::Require(!reading.m_description, "a wrong line refuses the file");
    CProperty::Require(reading.m_reasons.size() == 1 && reading.m_reasons[0].rfind(place, 0) == 0,
                       "a refusal names the first wrong line, once");
    for (const char byte : reading.m_reasons[0]) {
        const auto value = static_cast<unsigned char>(byte);
        CProperty::Require(value >= ' ' && value < 0x7F, "a refusal shows nothing of the file but "
                                                         "names");
    }
}

// A comment fills the file up to the limit, and one byte more.
void CheckLimit(const string& text, const CDeviceDescription& wanted) {
    const string beginning = text + "\n#";
    const CReading most = Read(beginning + string(kMostBytes - beginning.size(), '#'));
    CProperty::Require(most.m_description.has_value(), "64 KiB can be read");
    RequireSame(*most.m_description, wanted, "a comment changes nothing");
    const CReading more = Read(beginning + string(kMostBytes + 1 - beginning.size(), '#'));
    CProperty::Require(!more.m_description && more.m_reasons.size() == 1,
                       "more than 64 KiB is refused");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const string text(data, data + size);
    const CDeviceFormat wanted(text);
    const CReading reading = Read(text);
    if (wanted.m_wrongLine != 0) {
        RequireRefusal(reading, wanted.m_wrongLine);
        return 0;
    }
    CProperty::Require(reading.m_description && reading.m_reasons.empty(),
                       "a file without a wrong line is taken");
    CDeviceDescription values;
    values.m_commands = wanted.m_commands;
    values.m_timeout = std::chrono::seconds(wanted.m_timeout);
    RequireSame(*reading.m_description, values, "what is read is what the file says");

    const auto again = Read(CDeviceFormat::Write(values.m_commands, wanted.m_timeout));
    CProperty::Require(again.m_description.has_value(), "what was read can be written");
    RequireSame(*again.m_description, values, "what is written reads back equal");
    if (text.rfind("# limit", 0) == 0) {
        CheckLimit(text, values);
    }
    return 0;
}

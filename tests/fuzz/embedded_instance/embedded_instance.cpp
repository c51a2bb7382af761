// Instances in CIM-XML. The input is a record, which is written and read back, and the text of an
// instance, which is read as one of each class.

#include "host/CCimXmlReader.h"
#include "host/CInstanceReader.h"
#include "host/CimText.h"
#include "host/InstanceText.h"
#include "providerbase/IWbemClassObject.h"
#include "tests/fuzz/support/CInput.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/CWholeRecord.h"
#include "tests/fuzz/support/FuzzTarget.h"
#include "tests/unit/host/ObjectDump.h"
#include "tests/unit/host/SampleClasses.h"

#include <algorithm>
#include <string>
#include <vector>

using std::string;
using Classes = std::vector<CCimClass>;

namespace {

Classes RecordClasses() {
    string error;
    auto classes = CCimXmlReader::ReadFile(KZM_FUZZ_SCHEMA, &error);
    CProperty::Require(classes.has_value(), "the class definitions can be read");
    return *classes;
}

// The record's object, in the place of a method's parameter.
IWbemClassObject Parameters(const CLoggerConf& record) {
    IWbemClassObject parameters;
    CProperty::Require(record.ConvertToIWbemClassObject(&parameters),
                       "every record becomes an object");
    return parameters;
}

void CheckRecord(const CLoggerConf& record) {
    static const Classes kClasses = RecordClasses();
    static const CInstanceReader kReader(kClasses);
    const IWbemClassObject given = Parameters(record);
    const auto& conf = std::get<CWbemObjectPtr>(*given.Get("LoggerConf"));
    string error;
    const auto text = cim::InstanceText(*conf, "VELTARO_LoggerConf", kClasses, &error);
    CProperty::Require(text.has_value(), "the object of a record can be written");
    auto object = kReader.Read("VELTARO_LoggerConf", *text, &error);
    const auto& rows = record.m_FsUsageMonitorConf.m_FsThresholdConfList;
    const bool hasZero = std::any_of(rows.begin(), rows.end(), [](const auto& row) {
        return row.m_sVolumeName.find('\0') != string::npos;
    });
    CProperty::Require((object == nullptr) == hasZero,
                       "what is written can be read, unless there is a zero byte in it");
    if (object == nullptr) {
        return;
    }
    IWbemClassObject parameters;
    parameters.Put("LoggerConf", std::move(object));
    const CLoggerConf read(&parameters);
    CProperty::Require(read.m_iStatus == 0 && CWholeRecord::IsSame(read, record),
                       "a record comes back from its text as it was");
}

void CheckString(const string& bytes) {
    const string text = cim::EncodeString(bytes);
    CProperty::Require(cim::IsUtf8(text), "what is encoded is UTF-8");
    if (bytes.find('\0') == string::npos) {
        CProperty::Require(cim::DecodeString(text) == bytes, "what is encoded is decoded equal");
    }
}

// Names, types and order are those of the class, and nothing is null.
void CheckObject(const IWbemClassObject& object, const string& className, const Classes& classes) {
    const CCimClass* definition = cim::FindNamed(classes, className);
    const IWbemClassObject::Properties& properties = object.GetProperties();
    CProperty::Require(object.GetClassName() == definition->m_sName &&
                           properties.size() == definition->m_properties.size(),
                       "an object has its class and all properties");
    for (std::size_t i = 0; i < properties.size(); ++i) {
        const CCimProperty& known = definition->m_properties[i];
        const CWbemValue& value = properties[i].m_value;
        CProperty::Require(properties[i].m_sName == known.m_sName &&
                               static_cast<WbemType>(value.index()) == known.m_type,
                           "a property is spelled and typed as in the class");
        if (const auto* one = std::get_if<CWbemObjectPtr>(&value)) {
            CheckObject(**one, known.m_sEmbeddedClass, classes);
        } else if (const auto* many = std::get_if<CWbemObjectArray>(&value)) {
            for (const CWbemObjectPtr& entry : *many) {
                CheckObject(*entry, known.m_sEmbeddedClass, classes);
            }
        }
    }
}

void CheckRefusal(const string& error) {
    const bool isPlain = std::all_of(error.begin(), error.end(),
                                     [](char letter) { return letter >= ' ' && letter < '\x7F'; });
    CProperty::Require(!error.empty() && error.size() < 1000 && isPlain,
                       "an error is one short line that is safe to print");
}

void CheckText(const string& text, const string& className) {
    static const Classes kClasses = SampleClasses();
    static const CInstanceReader kReader(kClasses);
    string error;
    const auto object = kReader.Read(className, text, &error);
    if (object == nullptr) {
        return CheckRefusal(error);
    }
    CheckObject(*object, className, kClasses);
    const auto written = cim::InstanceText(*object, className, kClasses, &error);
    CProperty::Require(written.has_value(), "what was read can be written");
    const auto again = kReader.Read(className, *written, &error);
    CProperty::Require(again != nullptr, "what is written can be read");
    CProperty::RequireEqual(Dump(*object), Dump(*again), "what is written reads back equal");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CInput input(data, size, 2);
    if (!input.Section(0).empty()) { // which makes the others slow
        CheckRecord(input.Conf(0));
        CheckString(input.Section(0));
    }
    for (const char* className : {"Inner", "Outer", "Node"}) {
        CheckText(input.Section(1), className);
    }
    return 0;
}

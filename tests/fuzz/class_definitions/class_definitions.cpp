// Class definitions in CIM-XML, and what is made of them: MOF and objects. The input is the text.

#include "host/CCimXmlReader.h"
#include "host/CClassRepository.h"
#include "host/CMofWriter.h"
#include "tests/fuzz/support/CClassRules.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/CXmlText.h"
#include "tests/fuzz/support/FuzzTarget.h"

#include <string>

using std::string;

namespace {

// Where an embedded class is missing, the property's name stands for the line.
void CheckRefusal(const string& text, const string& error) {
    const bool isOfEmbedded = error.find(" embeds the class ") != string::npos;
    CXmlText::RequirePlace(text, isOfEmbedded ? "line 1: " + error : error);
}

void CheckObjects(const std::vector<CCimClass>& classes) {
    CClassRepository repository(classes);
    for (const CCimClass& definition : classes) {
        IWbemClassObject* object = nullptr;
        CProperty::Require(repository.Holds(definition.m_sName) &&
                               repository.GetObject(definition.m_sName, 0, nullptr, &object,
                                                    nullptr) == WbemResult::kSuccess,
                           "a class that is defined can be had");
        object->Release();
    }
}

void CheckMof(const std::vector<CCimClass>& classes) {
    const string mof = CMofWriter::Write(classes);
    std::size_t at = 0;
    for (const CCimClass& definition : classes) {
        at = mof.find("class " + definition.m_sName + "\n{\n", at);
        CProperty::Require(at != string::npos, "the MOF has each class, in order");
    }
    CProperty::Require(mof.empty() == classes.empty() && (mof.empty() || mof.back() == '\n'),
                       "the MOF is of whole lines");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const string text(data, data + size);
    string error;
    const auto classes = CCimXmlReader::Read(text, &error);
    if (!classes) {
        CheckRefusal(text, error);
        return 0;
    }
    CClassRules::Require(*classes);
    CheckObjects(*classes);
    CheckMof(*classes);
    const string written = CXmlText::Of(*classes);
    const auto again = CCimXmlReader::Read(written, &error);
    CProperty::Require(again.has_value(), "what was read can be written");
    CProperty::RequireEqual(written, CXmlText::Of(*again), "what is written reads back equal");
    return 0;
}

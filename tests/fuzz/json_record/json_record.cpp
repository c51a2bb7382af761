// Reading a record from JSON text, and printing it. The input is the text.

#include "loggerctl/record/CJsonRecord.h"
#include "tests/fuzz/support/CInput.h"
#include "tests/fuzz/support/CJsonFormat.h"
#include "tests/fuzz/support/CPrintable.h"
#include "tests/fuzz/support/CProperty.h"
#include "tests/fuzz/support/FuzzTarget.h"
#include "tests/system/loggerctl/CLocale.h"
#include "tests/system/loggerctl/SampleSettings.h"

namespace {

using Object = std::unique_ptr<IWbemClassObject>;

Object Read(const std::string& text, std::string* error) {
    return CJsonRecord::FromText(text, *SampleDefinition("LoggerConf"), SampleDefinition, error);
}

void RequireRefusal(const std::string& error) {
    const auto begins = [&error](const char* text) { return error.rfind(text, 0) == 0; };
    const bool isOfWhole = begins("The text is not JSON, at byte ") ||
                           begins("The text is nested deeper ") || begins("The text has '") ||
                           begins("The text has a number ") ||
                           begins("The text must be an object, not ");
    const bool isOfMember = CJsonFormat::IsPart(error.substr(0, error.find_first_of(" .["))) ||
                            error.find(" is no member of LoggerConf.") != std::string::npos;
    CProperty::Require(isOfWhole || isOfMember, "a text is refused by the name of what is wrong");
    CProperty::Require(CPrintable::Is(error), "a refusal is safe to print");
}

void RequireAgain(const IWbemClassObject& object, const std::string& text, const char* locale) {
    const CLocale set(locale);
    const std::string printed = CJsonRecord::ToText(object);
    CProperty::Require(CPrintable::Is(printed), "what is printed is safe to print");
    CProperty::Require(CJsonFormat::Values(printed) == CJsonFormat::Values(text),
                       "what is printed has the values of what was read");
    std::string error;
    const Object again = Read(printed, &error);
    CProperty::Require(again != nullptr, "what is printed can be read");
    CProperty::RequireEqual(printed, CJsonRecord::ToText(*again), "it is then printed the same");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CInput input(data, size, 1);
    const std::string& text = input.Section(0);
    std::string error;
    const Object object = Read(text, &error);

    CProperty::Require((object != nullptr) == CJsonFormat::IsRecord(text),
                       "a text is taken exactly when it is a whole record and nothing else");
    if (object == nullptr) {
        RequireRefusal(error);
        return 0;
    }
    RequireAgain(*object, text, kUtf8Locale);
    RequireAgain(*object, text, kPlainLocale);
    return 0;
}

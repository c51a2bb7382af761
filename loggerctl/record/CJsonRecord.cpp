#include "loggerctl/record/CJsonRecord.h"

#include "loggerctl/output/CHexText.h"
#include "loggerctl/output/CSafeText.h"
#include "loggerctl/output/CUtf8.h"
#include "loggerctl/record/CJsonReader.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>

namespace {

using Json = nlohmann::ordered_json;

constexpr int kIndent = 2;

Json ToJson(const IWbemClassObject& object);

Json ToJson(const CWbemObjectArray& objects) {
    Json array = Json::array();
    for (const CWbemObjectPtr& object : objects) {
        array.push_back(ToJson(*object));
    }
    return array;
}

void AddString(const std::string& name, const std::string& value, Json* json) {
    if (CUtf8::IsValid(value)) {
        (*json)[name] = value;
    } else {
        (*json)[name] = nullptr;
        (*json)[name + CJsonReader::kBytesSuffix] = CHexText::FromBytes(value);
    }
}

void AddProperty(const IWbemClassObject::Property& property, Json* json) {
    const std::string& name = property.m_sName;
    const CWbemValue& value = property.m_value;
    if (const auto* boolean = std::get_if<bool>(&value)) {
        (*json)[name] = *boolean;
    } else if (const auto* natural = std::get_if<std::uint32_t>(&value)) {
        (*json)[name] = *natural;
    } else if (const auto* integer = std::get_if<std::int32_t>(&value)) {
        (*json)[name] = *integer;
    } else if (const auto* text = std::get_if<std::string>(&value)) {
        AddString(name, *text, json);
    } else if (const auto* object = std::get_if<CWbemObjectPtr>(&value)) {
        (*json)[name] = ToJson(**object);
    } else if (const auto* objects = std::get_if<CWbemObjectArray>(&value)) {
        (*json)[name] = ToJson(*objects);
    } else {
        (*json)[name] = nullptr;
    }
}

Json ToJson(const IWbemClassObject& object) {
    Json json = Json::object();
    for (const IWbemClassObject::Property& property : object.GetProperties()) {
        AddProperty(property, &json);
    }
    return json;
}

// Unsafe characters stand only inside of JSON strings, where \uXXXX means the same; line ends are
// the layout's own.
std::string WithoutUnsafeCharacters(const std::string& text) {
    std::string safe;
    for (std::size_t position = 0; position < text.size();) {
        const CUtf8::Character character = CUtf8::Read(text, position);
        if (character.m_code != '\n' && CSafeText::IsUnsafe(character.m_code)) {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\u%04x",
                          static_cast<unsigned int>(character.m_code) & 0xFFFFU);
            safe += escape.data();
        } else {
            safe += text.substr(position, character.m_length);
        }
        position += character.m_length;
    }
    return safe;
}

} // namespace

std::string CJsonRecord::ToText(const IWbemClassObject& object) {
    const bool asciiOnly = !CSafeText::IsUtf8Locale();
    return WithoutUnsafeCharacters(ToJson(object).dump(kIndent, ' ', asciiOnly)) + '\n';
}

std::unique_ptr<IWbemClassObject> CJsonRecord::FromText(const std::string& text,
                                                        const IWbemClassObject& definition,
                                                        const Definitions& definitions,
                                                        std::string* error) {
    return CJsonReader(definitions, error).Read(text, definition);
}

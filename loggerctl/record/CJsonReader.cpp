#include "loggerctl/record/CJsonReader.h"

#include "loggerctl/output/CHexText.h"
#include "loggerctl/output/CSafeText.h"
#include "loggerctl/output/CSuggestion.h"

#include <nlohmann/json.hpp>

#include <limits>
#include <set>
#include <utility>

namespace {

using Json = nlohmann::ordered_json;

std::string Member(const std::string& path, const std::string& name) {
    return path.empty() ? name : path + "." + name;
}

std::string Shown(const Json& json) {
    constexpr std::size_t kLongest = 40;
    std::string text = json.dump(-1, ' ', true);
    if (text.size() > kLongest) {
        text = text.substr(0, kLongest) + "...";
    }
    return text;
}

// Takes a whole number of the type's range.
template <class Number>
bool ReadNumber(const Json& json, CWbemValue* value) {
    const bool tooGreat =
        json.is_number_unsigned() &&
        json.get<std::uint64_t>() > static_cast<std::uint64_t>(std::numeric_limits<Number>::max());
    if (!json.is_number_integer() || tooGreat) {
        return false;
    }
    const auto number = json.get<std::int64_t>();
    if (number < std::numeric_limits<Number>::min() ||
        number > std::numeric_limits<Number>::max()) {
        return false;
    }
    *value = static_cast<Number>(number);
    return true;
}

template <class Number>
std::string WholeNumberWanted(const Json& json) {
    return "must be a whole number from " + std::to_string(std::numeric_limits<Number>::min()) +
           " to " + std::to_string(std::numeric_limits<Number>::max()) + ", not " + Shown(json);
}

// Looks at a text while it is parsed, at what the parser alone would accept.
class CParseWatch {
public:
    // False for a value that is nested too deep: the parser then leaves it out.
    bool operator()(int depth, nlohmann::json::parse_event_t event, const Json& parsed) {
        using Event = nlohmann::json::parse_event_t;
        if (depth > kDeepest) {
            m_bTooDeep = true;
            return false;
        }
        if (event == Event::object_start) {
            m_names.emplace_back();
        } else if (event == Event::object_end) {
            m_names.pop_back();
        } else if (event == Event::key &&
                   !m_names.back().insert(parsed.get<std::string>()).second && m_sFirst.empty()) {
            m_sFirst = parsed.get<std::string>();
        }
        return true;
    }

    std::string m_sFirst; // the first name that an object gives twice
    bool m_bTooDeep = false;

private:
    // A record needs 5. What is printed of a value is printed by recursion.
    static constexpr int kDeepest = 32;

    std::vector<std::set<std::string>> m_names;
};

} // namespace

CJsonReader::CJsonReader(const CJsonRecord::Definitions& definitions, std::string* error)
    : m_definitions(definitions),
      m_pError(error) {}

std::unique_ptr<IWbemClassObject> CJsonReader::Read(const std::string& text,
                                                    const IWbemClassObject& definition) {
    Json json;
    if (!Parse(text, &json)) {
        return nullptr;
    }
    return ReadObject(json, definition, "");
}

bool CJsonReader::Parse(const std::string& text, Json* json) {
    CParseWatch watch;
    try {
        *json = Json::parse(text, std::ref(watch));
    } catch (const Json::parse_error& failure) {
        return Fail("", "is not JSON, at byte " + std::to_string(failure.byte));
    } catch (const Json::out_of_range&) {
        return Fail("", "has a number that is greater than any number can be");
    }
    if (watch.m_bTooDeep) {
        return Fail("", "is nested deeper than a record");
    }
    if (!watch.m_sFirst.empty()) {
        return Fail("", "has '" + CSafeText::Escape(watch.m_sFirst) + "' twice in one object");
    }
    return true;
}

CWbemObjectPtr CJsonReader::ReadObject(const Json& json, const IWbemClassObject& definition,
                                       const std::string& path) {
    if (!json.is_object()) {
        Fail(path, "must be an object, not " + Shown(json));
        return nullptr;
    }
    if (!CheckNames(json, definition, path)) {
        return nullptr;
    }
    auto object = std::make_unique<IWbemClassObject>(definition.GetClassName());
    for (const Property& property : definition.GetProperties()) {
        CWbemValue value;
        if (!ReadProperty(json, property, Member(path, property.m_sName), &value)) {
            return nullptr;
        }
        object->DefineProperty(property.m_sName, property.m_type, property.m_sEmbeddedClass);
        object->Put(property.m_sName.c_str(), std::move(value));
    }
    return object;
}

bool CJsonReader::CheckNames(const Json& json, const IWbemClassObject& definition,
                             const std::string& path) {
    std::vector<std::string> names;
    std::set<std::string> allowed;
    for (const Property& property : definition.GetProperties()) {
        names.push_back(property.m_sName);
        allowed.insert(property.m_sName);
        if (property.m_type == WbemType::String) {
            allowed.insert(property.m_sName + kBytesSuffix);
        }
    }
    for (const auto& item : json.items()) {
        if (allowed.count(item.key()) == 0) {
            const std::string name = item.key().empty() ? "''" : item.key();
            return Fail(Member(path, name), "is no member of " + definition.GetClassName() + "." +
                                                CSuggestion::Question(item.key(), names));
        }
    }
    return true;
}

bool CJsonReader::ReadProperty(const Json& json, const Property& property, const std::string& path,
                               CWbemValue* value) {
    if (!json.contains(property.m_sName)) {
        return Fail(path, "is missing");
    }
    const Json& member = json.at(property.m_sName);
    switch (property.m_type) {
    case WbemType::Boolean:
        if (!member.is_boolean()) {
            return Fail(path, "must be true or false, not " + Shown(member));
        }
        *value = member.get<bool>();
        return true;
    case WbemType::UInt32:
        return ReadNumber<std::uint32_t>(member, value) ||
               Fail(path, WholeNumberWanted<std::uint32_t>(member));
    case WbemType::SInt32:
        return ReadNumber<std::int32_t>(member, value) ||
               Fail(path, WholeNumberWanted<std::int32_t>(member));
    case WbemType::String:
        return ReadString(json, property, path, value);
    case WbemType::Object:
    case WbemType::ObjectArray:
        return ReadEmbedded(member, property, path, value);
    case WbemType::Null:
        break;
    }
    return Fail(path, "has no type in the class definitions");
}

bool CJsonReader::ReadString(const Json& json, const Property& property, const std::string& path,
                             CWbemValue* value) {
    const Json& member = json.at(property.m_sName);
    const std::string bytesName = property.m_sName + kBytesSuffix;
    if (json.contains(bytesName)) {
        if (!member.is_null()) {
            return Fail(path, "must be null when " + bytesName + " is given");
        }
        return ReadBytes(json.at(bytesName), path + kBytesSuffix, value);
    }
    if (!member.is_string()) {
        return Fail(path, "must be a string, not " + Shown(member));
    }
    *value = member.get<std::string>();
    return true;
}

bool CJsonReader::ReadBytes(const Json& digits, const std::string& path, CWbemValue* value) {
    std::optional<std::string> bytes;
    if (digits.is_string()) {
        bytes = CHexText::ToBytes(digits.get<std::string>());
    }
    if (!bytes) {
        return Fail(path, "must be bytes in hexadecimal, not " + Shown(digits));
    }
    *value = std::move(*bytes);
    return true;
}

bool CJsonReader::ReadEmbedded(const Json& member, const Property& property,
                               const std::string& path, CWbemValue* value) {
    const IWbemClassObject* definition = m_definitions(property.m_sEmbeddedClass);
    if (definition == nullptr) {
        return Fail(path, "is of the class " + property.m_sEmbeddedClass +
                              ", which the class definitions lack");
    }
    if (property.m_type == WbemType::Object) {
        CWbemObjectPtr object = ReadObject(member, *definition, path);
        const bool good = object != nullptr;
        *value = std::move(object);
        return good;
    }
    if (!member.is_array()) {
        return Fail(path, "must be an array, not " + Shown(member));
    }
    CWbemObjectArray objects;
    for (std::size_t i = 0; i < member.size(); ++i) {
        objects.push_back(ReadObject(member[i], *definition, path + "[" + std::to_string(i) + "]"));
        if (objects.back() == nullptr) {
            return false;
        }
    }
    *value = std::move(objects);
    return true;
}

bool CJsonReader::Fail(const std::string& path, const std::string& what) {
    *m_pError = CSafeText::Escape(path.empty() ? "The text" : path) + " " + what;
    return false;
}

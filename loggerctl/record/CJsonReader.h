#pragma once

#include "loggerctl/record/CJsonRecord.h"
#include "providerbase/IWbemClassObject.h"

#include <nlohmann/json_fwd.hpp>

#include <memory>
#include <string>

// One reading of JSON text as an object of a class; CJsonRecord::FromText says what it accepts.
class CJsonReader {
public:
    // Stands behind the name of a string property whose bytes are given in hexadecimal.
    static constexpr char kBytesSuffix[] = "Bytes";

    // Both are borrowed for the reader's life.
    CJsonReader(const CJsonRecord::Definitions& definitions, std::string* error);

    std::unique_ptr<IWbemClassObject> Read(const std::string& text,
                                           const IWbemClassObject& definition);

private:
    using Json = nlohmann::ordered_json;
    using Property = IWbemClassObject::Property;

    // All answer whether it went well; otherwise the error is set. A path names the member that is
    // read; it is empty for the whole text.
    bool Parse(const std::string& text, Json* json);
    CWbemObjectPtr ReadObject(const Json& json, const IWbemClassObject& definition,
                              const std::string& path);
    bool CheckNames(const Json& json, const IWbemClassObject& definition, const std::string& path);
    bool ReadProperty(const Json& json, const Property& property, const std::string& path,
                      CWbemValue* value);
    bool ReadString(const Json& json, const Property& property, const std::string& path,
                    CWbemValue* value);
    bool ReadBytes(const Json& digits, const std::string& path, CWbemValue* value);
    bool ReadEmbedded(const Json& member, const Property& property, const std::string& path,
                      CWbemValue* value);
    bool Fail(const std::string& path, const std::string& what);

    const CJsonRecord::Definitions& m_definitions;
    std::string* m_pError;
};

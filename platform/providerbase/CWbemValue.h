#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

class IWbemClassObject;

// The value of one property: null, or one of the types that the object model knows.
using CWbemObjectPtr = std::unique_ptr<IWbemClassObject>;
using CWbemObjectArray = std::vector<CWbemObjectPtr>;
using CWbemValue = std::variant<std::monostate, bool, std::uint32_t, std::int32_t, std::string,
                                CWbemObjectPtr, CWbemObjectArray>;

// The types that a definition can give a property; each is the index of its values in CWbemValue.
enum class WbemType : std::uint8_t { Null, Boolean, UInt32, SInt32, String, Object, ObjectArray };

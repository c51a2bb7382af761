#pragma once

#include "tests/support/CRequestText.h"

#include <string>

// Requests as management clients send them, put together out of what a test is about. The headers
// announce what the body says.
namespace requests {

inline const std::string kClass = "VELTARO_ToolServiceLogger";

// An intrinsic operation with its IPARAMVALUE elements.
CRequestText Intrinsic(const std::string& operation, const std::string& parameters,
                       const std::string& space = "root/cimv2");
// A method of a class with its PARAMVALUE elements.
CRequestText Method(const std::string& method, const std::string& parameters = {},
                    const std::string& className = kClass, const std::string& space = "root/cimv2");
// A request with this in SIMPLEREQ, announced as GetClass.
CRequestText Simple(const std::string& call);
// A request with this text as its whole body, announced as GetClass.
CRequestText Whole(const std::string& body);

// Elements of requests.
std::string NamespacePath(const std::string& space = "root/cimv2");
std::string ClassPath(const std::string& className = kClass);
std::string Parameter(const std::string& name, const std::string& content);
std::string Flag(const std::string& name, const std::string& value);
std::string ClassName(const std::string& name);
std::string PropertyList(const std::initializer_list<std::string>& names);
std::string InParameter(const std::string& content, const std::string& attributes = {});

// GetClass of the provider's class.
CRequestText GetClass();
// The body of GetClass with one text in place of another, which must be there.
CRequestText GetClassWith(const std::string& from, const std::string& to);

// The text as XML has it between tags.
std::string Escape(const std::string& text);

} // namespace requests

#pragma once

#include "host/CCimClass.h"
#include "providerbase/IWbemClassObject.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

// Reads embedded instances: the text of an INSTANCE element (DSP0201), as it stands in the value of
// a parameter or property, once that is decoded.
//
// The class alone says which properties there are, of which type, and which of them are embedded
// instances; those are texts in the text, up to kEmbeddingDepth deep. Each property must be given
// once, with its type and a value. Names are compared without letter case, and the object has its
// properties as the class spells and orders them. Strings are decoded by cim::DecodeString.
// Qualifiers, and attributes that say nothing about the value, are checked for what may be there,
// and dropped.
//
// Any number of threads can read at the same time. Texts may come from anywhere. Nothing is thrown
// but std::bad_alloc.
class CInstanceReader {
public:
    // Class definitions as CCimXmlReader reads them.
    explicit CInstanceReader(std::vector<CCimClass> classes);

    // An instance of the class of this name. On failure null comes back, and *error says in one
    // line, safe to print, where (class, property, the embedding properties with their indexes from
    // 0) and what is wrong, and what to do.
    [[nodiscard]] std::unique_ptr<IWbemClassObject>
    Read(const std::string& className, std::string_view text, std::string* error) const;

    // The same for the value of a parameter that is one embedded instance; *error names it, too.
    [[nodiscard]] std::unique_ptr<IWbemClassObject>
    ReadParameter(const CCimProperty& parameter, std::string_view text, std::string* error) const;

private:
    std::vector<CCimClass> m_classes;
};

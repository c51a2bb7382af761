#pragma once

#include "host/CXmlDocument.h"
#include "host/CimText.h"
#include "providerbase/CWbemValue.h"

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// What reading any CIM-XML element takes: its name, its type, its attributes and its children.
// Every step answers false after a failure, which GetError then describes.
class CCimElementReader {
public:
    // One line: where it is (line, element, class) and what is wrong.
    [[nodiscard]] const std::string& GetError() const { return m_sError; }

protected:
    using Step = std::function<bool(const CXmlElement&)>;
    using Steps = std::initializer_list<std::pair<std::string_view, Step>>;
    using Names = std::initializer_list<std::string_view>;

    CCimElementReader() = default;

    // The attribute NAME, which must be an identifier.
    bool ReadName(const CXmlElement& element, std::string* name);
    // The attribute TYPE, which must be one of the four types that are supported.
    bool ReadType(const CXmlElement& element, WbemType* type);
    // Fails when there are other attributes than the known ones.
    bool CheckAttributes(const CXmlElement& element, Names known);
    // Takes the step of its name for each child, in order. Fails for other children and for text.
    bool ReadChildren(const CXmlElement& element, Steps steps);
    // Appends what was read from the element; fails when the list holds its name already.
    template <typename Item>
    bool Append(const CXmlElement& element, Item item, std::vector<Item>* items);

    // Keeps the error and answers false.
    bool Fail(const CXmlElement& element, const std::string& what);
    bool Fail(std::string error);

    std::string m_sClassName; // of the class that is being read; errors name it

private:
    std::string m_sError;
};

template <typename Item>
bool CCimElementReader::Append(const CXmlElement& element, Item item, std::vector<Item>* items) {
    if (cim::FindNamed(*items, item.m_sName) != nullptr) {
        return Fail(element, "is given twice");
    }
    items->push_back(std::move(item));
    return true;
}

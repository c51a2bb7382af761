#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace wbemd {

// Writes XML as every management client reads it: each element has an open and a close tag, there
// are no comments, and no white space but that of the texts.
class CXmlWriter {
public:
    using Attributes = std::initializer_list<std::pair<std::string_view, std::string_view>>;

    // So many bytes will be written, about: memory is taken once.
    void Expect(std::size_t bytes) { m_xml.reserve(m_xml.size() + bytes); }

    void Open(std::string_view name, Attributes attributes = {});
    void Close(std::string_view name);
    // Characters of an element. They must be what XML can carry.
    void Text(std::string_view text);
    // What is XML already.
    void Raw(std::string_view xml) { m_xml += xml; }
    // An element that holds nothing but text.
    void Element(std::string_view name, std::string_view text, Attributes attributes = {});

    // What was written. The writer is then empty.
    std::string Take();

private:
    void Attribute(std::string_view name, std::string_view value);

    std::string m_xml;
};

} // namespace wbemd

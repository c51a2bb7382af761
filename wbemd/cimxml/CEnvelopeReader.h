#pragma once

#include "host/CCimElementReader.h"
#include "wbemd/cimxml/CimRequest.h"

namespace wbemd {

// Reads a request's envelope, from CIM down to each parameter.
class CEnvelopeReader : public CCimElementReader {
public:
    // False when the envelope is not valid; GetError says in one line where and why.
    bool Read(const CXmlElement& root);

    CCimRequest m_request;

private:
    bool ReadMessage(const CXmlElement& message);
    bool ReadCall(const CXmlElement& call);
    bool ReadTarget(const CXmlElement& target);
    bool ReadPathOfClass(const CXmlElement& path);
    bool ReadPathOfInstance(const CXmlElement& path);
    bool ReadNamespace(const CXmlElement& path);
    bool ReadParameter(const CXmlElement& parameter);

    // The attribute's value, which must be there.
    bool TakeAttribute(const CXmlElement& element, std::string_view name, std::string* value);
    // Fails unless the element holds just these elements, in this order, and no text.
    bool CheckContent(const CXmlElement& element, Names names);
    bool CheckNoText(const CXmlElement& element);
};

} // namespace wbemd

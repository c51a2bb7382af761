#pragma once

#include "host/CXmlDocument.h"
#include "wbemd/cimxml/InstanceName.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace wbemd {

// The parameters of an intrinsic operation. Each is taken by its name, and is checked then; the
// first thing that is wrong with any is kept, for other failures may count before it.
class CIntrinsicParameters {
public:
    // The elements must outlive this object.
    explicit CIntrinsicParameters(std::vector<const CXmlElement*> sent) : m_left(std::move(sent)) {}

    // A boolean; the default when it was not sent, or not well.
    bool TakeFlag(std::string_view name, bool absent);
    // The name of a class; nothing when it was not sent, or not well. Null is as good as not sent
    // where nothing is required.
    enum class Need { Required, Optional };
    std::optional<std::string> TakeClassName(std::string_view name, Need need);
    // The name of an instance, which is required; nothing when it was not sent well.
    std::optional<CSentInstanceName> TakeInstanceName(std::string_view name);
    // A list of names; nothing when it was not sent, or null, or not well.
    std::optional<std::vector<std::string>> TakeNames(std::string_view name);

    // Once all were taken: what is wrong with what was sent, in one sentence; empty when nothing
    // is. What nobody took is unknown.
    [[nodiscard]] std::string Problem() const;

private:
    // Null when it was not sent, or twice.
    const CXmlElement* Take(std::string_view name);
    // The only child of a parameter. Null when there is none (the parameter is null) or it is no
    // such element.
    const CXmlElement* Content(const CXmlElement& parameter, std::string_view element);
    std::nullopt_t Note(const CXmlElement& parameter, std::string_view what);
    void Note(std::string problem);

    std::vector<const CXmlElement*> m_left;
    std::string m_problem;
};

} // namespace wbemd

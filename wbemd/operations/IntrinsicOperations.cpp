#include "wbemd/operations/IntrinsicOperations.h"

#include "host/CimText.h"
#include "wbemd/cimxml/CIntrinsicParameters.h"
#include "wbemd/cimxml/CXmlWriter.h"
#include "wbemd/operations/InstanceAnswers.h"
#include "wbemd/operations/Rights.h"

#include <optional>

namespace wbemd {

namespace {

using Answer = tl::expected<std::string, CCimError>;
using Need = CIntrinsicParameters::Need;

// What every operation works with. Its failures count in this order: the class or instance that it
// asks for, the user's right, its parameters.
struct CContext {
    const CServedNamespace& m_namespace;
    CIntrinsicParameters m_parameters;
    messages::Right m_right;
};

constexpr char kClassName[] = "ClassName";
constexpr char kPropertyList[] = "PropertyList";

tl::unexpected<CCimError> Fail(CimCode code, std::string text) {
    return tl::unexpected(CCimError{code, std::move(text)});
}

// Takes the parameter ClassName and finds its class. Null where it is not given, or not well, which
// CheckRequest tells about.
tl::expected<const CServedClass*, CCimError> TakeClass(CContext& context, Need need,
                                                       CimCode whenUnknown) {
    const auto name = context.m_parameters.TakeClassName(kClassName, need);
    if (!name) {
        return nullptr;
    }
    const CServedClass* found = context.m_namespace.FindClass(*name);
    if (found == nullptr) {
        return Fail(whenUnknown, "There is no class " + cim::Quote(*name) + " in the namespace " +
                                     context.m_namespace.Name() + ".");
    }
    return found;
}

// Once everything was taken: why the user may not have it, or what is wrong with a parameter.
std::optional<CCimError> CheckRequest(const CContext& context) {
    if (!MayRead(context.m_right)) {
        return MayNotRead();
    }
    std::string problem = context.m_parameters.Problem();
    if (!problem.empty()) {
        return CCimError{CimCode::InvalidParameter, std::move(problem)};
    }
    return std::nullopt;
}

CClassFilter TakeClassFilter(CContext& context) {
    context.m_parameters.TakeFlag("LocalOnly", true); // no class of ours has another above it
    CClassFilter filter;
    filter.m_qualifiers = context.m_parameters.TakeFlag("IncludeQualifiers", true);
    filter.m_origin = context.m_parameters.TakeFlag("IncludeClassOrigin", false);
    return filter;
}

Answer GetClass(CContext& context) {
    const auto served = TakeClass(context, Need::Required, CimCode::NotFound);
    if (!served) {
        return tl::unexpected(served.error());
    }
    const CClassFilter filter = TakeClassFilter(context);
    const auto properties = context.m_parameters.TakeNames(kPropertyList);
    if (auto error = CheckRequest(context)) {
        return tl::unexpected(std::move(*error));
    }
    const CClassText& text = (*served)->m_text;
    return properties ? text.WithProperties(filter, *properties) : text.Whole(filter);
}

// The classes below the one that is named: no class has another above it, so all or none.
tl::expected<std::vector<const CServedClass*>, CCimError> TakeClasses(CContext& context) {
    const auto above = TakeClass(context, Need::Optional, CimCode::InvalidClass);
    if (!above) {
        return tl::unexpected(above.error());
    }
    context.m_parameters.TakeFlag("DeepInheritance", false);
    std::vector<const CServedClass*> classes;
    if (*above == nullptr) {
        for (const CServedClass& served : context.m_namespace.Classes()) {
            classes.push_back(&served);
        }
    }
    return classes;
}

Answer EnumerateClasses(CContext& context) {
    const auto classes = TakeClasses(context);
    if (!classes) {
        return tl::unexpected(classes.error());
    }
    const CClassFilter filter = TakeClassFilter(context);
    if (auto error = CheckRequest(context)) {
        return tl::unexpected(std::move(*error));
    }
    std::string text;
    for (const CServedClass* served : *classes) {
        text += served->m_text.Whole(filter);
    }
    return text;
}

Answer EnumerateClassNames(CContext& context) {
    const auto classes = TakeClasses(context);
    if (!classes) {
        return tl::unexpected(classes.error());
    }
    if (auto error = CheckRequest(context)) {
        return tl::unexpected(std::move(*error));
    }
    CXmlWriter xml;
    for (const CServedClass* served : *classes) {
        xml.Element("CLASSNAME", "", {{"NAME", served->m_definition.m_sName}});
    }
    return xml.Take();
}

CInstanceFilter TakeInstanceFilter(CContext& context) {
    context.m_parameters.TakeFlag("LocalOnly", true);
    context.m_parameters.TakeFlag("IncludeQualifiers", false); // instances have none
    CInstanceFilter filter;
    filter.m_origin = context.m_parameters.TakeFlag("IncludeClassOrigin", false);
    filter.m_properties = context.m_parameters.TakeNames(kPropertyList);
    return filter;
}

Answer EnumerateInstances(CContext& context) {
    const auto served = TakeClass(context, Need::Required, CimCode::InvalidClass);
    if (!served) {
        return tl::unexpected(served.error());
    }
    context.m_parameters.TakeFlag("DeepInheritance", true);
    const CInstanceFilter filter = TakeInstanceFilter(context);
    if (auto error = CheckRequest(context)) {
        return tl::unexpected(std::move(*error));
    }
    CXmlWriter xml;
    for (const CServedInstance& instance : context.m_namespace.Instances()) {
        if (instance.m_class == *served) {
            WriteNamedInstance(instance, filter, &xml);
        }
    }
    return xml.Take();
}

Answer EnumerateInstanceNames(CContext& context) {
    const auto served = TakeClass(context, Need::Required, CimCode::InvalidClass);
    if (!served) {
        return tl::unexpected(served.error());
    }
    if (auto error = CheckRequest(context)) {
        return tl::unexpected(std::move(*error));
    }
    CXmlWriter xml;
    for (const CServedInstance& instance : context.m_namespace.Instances()) {
        if (instance.m_class == *served) {
            WriteInstanceName(instance, &xml);
        }
    }
    return xml.Take();
}

Answer GetInstance(CContext& context) {
    const auto name = context.m_parameters.TakeInstanceName("InstanceName");
    const CServedInstance* instance = name ? context.m_namespace.FindInstance(*name) : nullptr;
    if (name && instance == nullptr) {
        return Fail(CimCode::NotFound, "There is no such instance in the namespace " +
                                           context.m_namespace.Name() + ".");
    }
    const CInstanceFilter filter = TakeInstanceFilter(context);
    if (auto error = CheckRequest(context)) {
        return tl::unexpected(std::move(*error));
    }
    CXmlWriter xml;
    WriteInstance(*instance, filter, &xml);
    return xml.Take();
}

struct COperation {
    const char* m_name;
    Answer (*m_run)(CContext& context);
};

constexpr COperation kOperations[] = {{"GetClass", GetClass},
                                      {"EnumerateClasses", EnumerateClasses},
                                      {"EnumerateClassNames", EnumerateClassNames},
                                      {"EnumerateInstances", EnumerateInstances},
                                      {"EnumerateInstanceNames", EnumerateInstanceNames},
                                      {"GetInstance", GetInstance}};

} // namespace

Answer RunIntrinsic(const CServedNamespace& served, const CCimRequest& request,
                    messages::Right right) {
    for (const COperation& operation : kOperations) {
        if (cim::AreSameNames(operation.m_name, request.m_method)) {
            CContext context{served, CIntrinsicParameters(request.m_parameters), right};
            return operation.m_run(context);
        }
    }
    return Fail(CimCode::NotSupported,
                "The operation " + cim::Quote(request.m_method) + " is not served here.");
}

} // namespace wbemd

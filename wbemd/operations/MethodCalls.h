#pragma once

#include "wbemd/cimxml/CimError.h"
#include "wbemd/cimxml/CimRequest.h"
#include "wbemd/operations/COperations.h"
#include "wbemd/operations/CServedNamespace.h"

#include <tl/expected.hpp>

namespace wbemd {

// The provider's class, whose methods can be called.
inline constexpr char kProviderClass[] = "VELTARO_ToolServiceLogger";

// The call that an extrinsic method asks for, with its in-parameters as the class declares them.
tl::expected<CPendingCall, CCimError>
PrepareCall(const CServedNamespace& served, const CCimRequest& request, messages::Right right);

// What METHODRESPONSE of a call's answer holds, or why it failed.
tl::expected<std::string, CCimError> WriteCallAnswer(const CServedNamespace& served,
                                                     const CPendingCall& call,
                                                     const messages::CCallAnswer& answer);

// What of the provider's class cannot be served, whoever calls it; empty when all of it can.
std::string FindUnservable(const CCimClass& definition);

} // namespace wbemd

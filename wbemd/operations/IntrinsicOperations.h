#pragma once

#include "serverbase/Messages.h"
#include "wbemd/cimxml/CimError.h"
#include "wbemd/cimxml/CimRequest.h"
#include "wbemd/operations/CServedNamespace.h"

#include <tl/expected.hpp>

#include <string>

namespace wbemd {

// What IRETURNVALUE of an intrinsic operation's answer holds, or why it failed.
tl::expected<std::string, CCimError>
RunIntrinsic(const CServedNamespace& served, const CCimRequest& request, messages::Right right);

} // namespace wbemd

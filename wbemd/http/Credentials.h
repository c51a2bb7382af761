#pragma once

#include "serverbase/Messages.h"
#include "wbemd/http/HttpHead.h"

#include <optional>

namespace wbemd {

// What the head's one field Authorization says by the scheme Basic. Nothing when there is none or
// more than one, another scheme, no user, a text that is no base64 or has no colon, a control
// character, or more bytes than messages::kCredentialBytes.
std::optional<messages::CCredentials> ReadCredentials(const CHttpHead& head);

} // namespace wbemd

#pragma once

#include "providerd/door/CSettings.h"
#include "providerd/door/IAccounts.h"
#include "serverbase/Messages.h"

#include <string>

namespace providerd {

// What the user may do: the superuser everything, members of the groups that the settings name what
// those give, others nothing. A group or user that the system does not know gives nothing.
messages::Right RightOf(const std::string& user, const CSettings& settings, IAccounts* accounts);

// What calling the method takes; None when there is no such method.
messages::Right NeededRight(const std::string& method);

} // namespace providerd

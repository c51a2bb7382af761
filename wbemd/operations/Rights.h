#pragma once

#include "serverbase/Messages.h"
#include "wbemd/cimxml/CimError.h"

namespace wbemd {

// Changing includes reading.
inline bool MayRead(messages::Right right) {
    return right >= messages::Right::Read;
}
inline bool MayChange(messages::Right right) {
    return right >= messages::Right::Change;
}

// The errors of those who may not, whoever finds out.
inline CCimError MayNotRead() {
    return {CimCode::AccessDenied, "This user may not read the settings. The administrator of the "
                                   "server says who may."};
}
inline CCimError MayNotChange() {
    return {CimCode::AccessDenied, "This user may not change the settings. The administrator of "
                                   "the server says who may."};
}

} // namespace wbemd

#pragma once

#include <string>

namespace wbemd {

// The errors of operations, by the numbers that every management client knows.
enum class CimCode : unsigned {
    Failed = 1,
    AccessDenied = 2,
    InvalidNamespace = 3,
    InvalidParameter = 4,
    InvalidClass = 5,
    NotFound = 6,
    NotSupported = 7,
    MethodNotAvailable = 16,
    MethodNotFound = 17
};

// An operation that failed. The text tells the caller what to do, without paths and internals.
struct CCimError {
    CimCode m_code = CimCode::Failed;
    std::string m_text;
};

} // namespace wbemd

#include "comlib/ThrowIfCaught.h"

#include <cxxabi.h>
#include <unwind.h>

#include <new>
#include <typeinfo>

namespace {

// The beginning of what abi::__cxa_get_globals() gives, as the C++ ABI lays it down.
struct CThreadExceptions {
    void* m_pCaught;
    unsigned int m_uiUncaught;
};

CThreadExceptions& ThreadExceptions() {
    return *reinterpret_cast<CThreadExceptions*>(abi::__cxa_get_globals());
}

void Destroy(void* exception) {
    static_cast<KzmException*>(exception)->~KzmException();
}

} // namespace

// What `throw` does, up to the point where it finds that nobody catches.
void ThrowIfCaught(const KzmException& exception) {
    void* thrown = abi::__cxa_allocate_exception(sizeof(KzmException));
    ::new (thrown) KzmException(exception);
    auto* type = const_cast<std::type_info*>(&typeid(KzmException));
    // The header begins with the count of references, an int, and ends with the unwinder's part.
    auto* header = abi::__cxa_init_primary_exception(thrown, type, Destroy);
    *reinterpret_cast<int*>(header) = 1;
    ++ThreadExceptions().m_uiUncaught;
    _Unwind_RaiseException(static_cast<_Unwind_Exception*>(thrown) - 1);

    --ThreadExceptions().m_uiUncaught;
    Destroy(thrown);
    abi::__cxa_free_exception(thrown);
}

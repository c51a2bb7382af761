#include "comlib/FaultContext.h"

#if defined(__x86_64__)

#include <unwind.h>

#include <array>
#include <cstdint>
#include <cstring>

namespace {

constexpr greg_t kGeneralProtection = 13;
constexpr greg_t kPageFault = 14;
constexpr greg_t kInstructionFetch = 0x10; // in the error code of a page fault
constexpr std::uintptr_t kEndOfUserCode = std::uintptr_t{1} << 47U;

// Whether it was the address of the instruction itself that could not be used.
bool IsOutsideCode(const greg_t* registers) {
    if (registers[REG_TRAPNO] == kPageFault) {
        // An instruction that continues on a page without code is in code still.
        return (registers[REG_ERR] & kInstructionFetch) != 0 &&
               registers[REG_CR2] == registers[REG_RIP];
    }
    // Some processors make a jump to an address of an impossible form, and fault there.
    return registers[REG_TRAPNO] == kGeneralProtection &&
           static_cast<std::uintptr_t>(registers[REG_RIP]) >= kEndOfUserCode;
}

constexpr std::array<int, 5> kLengths{2, 3, 4, 6, 7};

// Whether a call instruction may end here: E8 with four bytes, or FF /2 with one to six.
bool IsBehindCall(const unsigned char* code) {
    for (const int length : kLengths) {
        const unsigned char* instruction = code - length;
        if (instruction[0] == 0xFF && (instruction[1] & 0x38U) == 0x10) {
            return true;
        }
    }
    return code[-5] == 0xE8;
}

} // namespace

bool MoveToInstruction(ucontext_t& context) {
    greg_t* registers = context.uc_mcontext.gregs;
    if (!IsOutsideCode(registers)) {
        return true;
    }
    unsigned char* const* stack = nullptr;
    std::memcpy(&stack, &registers[REG_RSP], sizeof(stack));
    unsigned char* returnAddress = *stack;
    if (_Unwind_FindEnclosingFunction(returnAddress) == nullptr || !IsBehindCall(returnAddress)) {
        return false;
    }
    registers[REG_RIP] = reinterpret_cast<greg_t>(returnAddress - 1);
    registers[REG_RSP] = reinterpret_cast<greg_t>(stack + 1);
    return true;
}

#else

bool MoveToInstruction(ucontext_t& /*context*/) {
    return true;
}

#endif

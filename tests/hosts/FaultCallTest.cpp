// Calls to where no code is, as code of the host or of a vendor makes them by mistake.

#include "comlib/KzmException.h"
#include "tests/hosts/HostProcess.h"
#include "tests/support/TableTest.h"

#include <gtest/gtest.h>

#include <malloc.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>

// In no unnamed namespace: there the optimizer would know that nothing overrides its operation.
class CVirtual {
public:
    virtual ~CVirtual() = default;
    virtual long Get() { return 1; }
};

namespace {

using Address = std::uintptr_t;

Address Data() {
    static std::array<int, 16> data{};
    return reinterpret_cast<Address>(data.data());
}

Address UnmappedPage() {
    void* page = mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    munmap(page, 4096);
    return reinterpret_cast<Address>(page);
}

// Executable, but behind the end of its (empty) file.
Address CodeWithoutFile() {
    std::FILE* file = std::tmpfile();
    return reinterpret_cast<Address>(
        mmap(nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE, fileno(file), 0));
}

struct AddressRow {
    const char* name;
    Address (*m_address)();
    int m_iSignal;
};

void PrintTo(const AddressRow& row, std::ostream* out) {
    *out << row.name;
}

const AddressRow kAddresses[] = {
    {"Null", [] { return Address{0}; }, SIGSEGV},
    {"NearNull", [] { return Address{0x18}; }, SIGSEGV},
    {"Data", Data, SIGSEGV},
    {"UnmappedPage", UnmappedPage, SIGSEGV},
    {"CodeWithoutFile", CodeWithoutFile, SIGBUS},
    {"Kernel", [] { return Address{0xffff888000000000}; }, SIGSEGV},
    {"ImpossibleForm", [] { return Address{0x1234567890123456}; }, SIGSEGV},
};

// ---- The ways to call ----

template <typename... Arguments>
using Function = long (*)(Arguments...);

template <typename... Arguments>
Function<Arguments...> AsFunction(Address address) {
    const volatile Address hidden = address; // from the optimizer
    return reinterpret_cast<Function<Arguments...>>(hidden);
}

[[gnu::noinline]] long CallPlainly(Address address, int* destroyed) {
    const CCounter counter(destroyed);
    return AsFunction<>(address)() + 1;
}

[[gnu::noinline]] long CallWithArgumentsOnTheStack(Address address, int* destroyed) {
    const CCounter counter(destroyed);
    return AsFunction<long, long, long, long, long, long, long, long, long>(address)(1, 2, 3, 4, 5,
                                                                                     6, 7, 8, 9) +
           1;
}

[[gnu::noinline]] long CallLast(Address address) {
    return AsFunction<>(address)(); // optimised, this is a jump
}

[[gnu::noinline]] long CallBehindAnother(Address address, int* destroyed) {
    const CCounter counter(destroyed);
    return CallLast(address) + 1;
}

[[gnu::noinline]] long CallVirtual(CVirtual* object) {
    return object->Get() + 1;
}

// Overwrites the address of the object's table of virtual operations, and hides from the optimizer
// whose object it was.
CVirtual* Smash(CVirtual* object, Address table) {
    std::memcpy(static_cast<void*>(object), &table, sizeof(table));
    CVirtual* volatile hidden = object;
    return hidden;
}

// The table has been overwritten.
[[gnu::noinline]] long CallThroughSmashedTable(Address address, int* destroyed) {
    const CCounter counter(destroyed);
    const std::array<volatile Address, 4> table{address, address, address, address};
    CVirtual object;
    return CallVirtual(Smash(&object, reinterpret_cast<Address>(&table)));
}

// So has the address of the table.
[[gnu::noinline]] long CallThroughSmashedObject(Address address, int* destroyed) {
    const CCounter counter(destroyed);
    CVirtual object;
    return CallVirtual(Smash(&object, address));
}

long (*const kWaysToCall[])(Address, int*) = {CallPlainly, CallWithArgumentsOnTheStack,
                                              CallBehindAnother, CallThroughSmashedTable};

// ---- The tests ----

// The number of ways whose fault came as this exception, with all destructors run on the way.
int Thrown(Address address, int signalNumber) {
    int thrown = 0;
    for (const auto call : kWaysToCall) {
        int destroyed = 0;
        try {
            call(address, &destroyed);
        } catch (const KzmException& exception) {
            thrown += exception.GetSignal() == signalNumber && destroyed == 1 ? 1 : 0;
        }
    }
    return thrown;
}

class FaultCall : public testing::TestWithParam<AddressRow> {
protected:
    void SetUp() override {
        SKIP_UNLESS_TRANSLATED();
#ifndef __x86_64__
        GTEST_SKIP() << "not known on this processor";
#endif
    }
};
INSTANTIATE_TEST_SUITE_P(To, FaultCall, testing::ValuesIn(kAddresses), RowName<AddressRow>);

TEST_P(FaultCall, IsThrownFromTheCall) {
    EXPECT_EQ("exit 8", EndOf([] {
                  KzmException::set_transrator();
                  const Address address = GetParam().m_address();
                  return Thrown(address, GetParam().m_iSignal) +
                         Thrown(address, GetParam().m_iSignal);
              }));
}

TEST_P(FaultCall, EndsTheProcessWhereNobodyCatches) {
    EXPECT_EQ(sigabbrev_np(GetParam().m_iSignal), EndOf([] {
                  KzmException::set_transrator();
                  int destroyed = 0;
                  CallPlainly(GetParam().m_address(), &destroyed);
                  return 0;
              }));
}

using FaultCallOther = FaultCall;
INSTANTIATE_TEST_SUITE_P(To, FaultCallOther, testing::Values(kAddresses[0]), RowName<AddressRow>);

TEST_P(FaultCallOther, ThroughASmashedObjectIsThrown) {
    EXPECT_EQ("exit 1", EndOf([] {
                  KzmException::set_transrator();
                  int destroyed = 0;
                  try {
                      CallThroughSmashedObject(8, &destroyed);
                  } catch (const KzmException&) {
                  }
                  return destroyed;
              }));
}

TEST_P(FaultCallOther, FromANoexceptFunctionEndsTheProcess) {
    EXPECT_EQ("ABRT", EndOf([] {
                  KzmException::set_transrator();
                  try {
                      []() noexcept { AsFunction<>(0)(); }();
                  } catch (const KzmException&) {
                  }
                  return 0;
              }));
}

#ifdef __x86_64__

greg_t& Register(void* context, int name) {
    return static_cast<ucontext_t*>(context)->uc_mcontext.gregs[name];
}

TEST_P(FaultCallOther, WhereNobodyCatchesShowsTheHostTheFaultItself) {
    EXPECT_EQ("exit 42", EndOf([] {
                  SetHandler(SIGSEGV, [](int, siginfo_t*, void* context) {
                      const auto* stack =
                          reinterpret_cast<const greg_t*>(Register(context, REG_RSP));
                      _exit(Register(context, REG_RIP) == 0 && *stack != 0 ? 42 : 1);
                  });
                  KzmException::set_transrator();
                  int destroyed = 0;
                  CallPlainly(0, &destroyed);
                  return 0;
              }));
}

[[gnu::noinline]] void ReturnToNull() {
    __asm__ volatile("push $0\n\tpush $0\n\tret");
}

// On top of the stack lies an address of code, as a pointer to a function may.
[[gnu::noinline]] void ReturnToNullOverCode() {
    __asm__ volatile("lea 1f(%rip), %rax\n\tpush %rax\n\tpush $0\n\tret\n\t"
                     "nop\n\tnop\n\tnop\n\tnop\n\tnop\n\tnop\n\tnop\n1:\tnop");
}

TEST_P(FaultCallOther, ThatWasAReturnIsLeftToTheHost) {
    for (const auto goAstray : {ReturnToNull, ReturnToNullOverCode}) {
        const auto host = [goAstray] {
            KzmException::set_transrator();
            try {
                goAstray();
            } catch (const KzmException&) {
            }
            return 0;
        };
        EXPECT_EQ("SEGV", EndOf(host));
        EXPECT_EQ("exit 42", EndOf([host] {
                      SetHandler(SIGSEGV, [](int, siginfo_t*, void* context) {
                          _exit(Register(context, REG_RIP) == 0 ? 42 : 1);
                      });
                      return host();
                  }));
    }
}

// As in a host with generated code that says nothing about its frames.
TEST_P(FaultCallOther, ToCodeThatCannotBeUnwoundIsLeftToTheHost) {
    EXPECT_EQ("ILL", EndOf([] {
                  void* code = mmap(nullptr, 4096, PROT_READ | PROT_WRITE | PROT_EXEC,
                                    MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
                  std::memcpy(code, "\x0f\x0b", 2); // ud2
                  KzmException::set_transrator();
                  try {
                      AsFunction<>(reinterpret_cast<Address>(code))();
                  } catch (const KzmException&) {
                  }
                  return 0;
              }));
}

// Some processors find an address of an impossible form at the call, others behind the jump. What
// the others would report is made of what this one reports for a null pointer.
TEST_P(FaultCallOther, ToAnImpossibleFormIsThrownByEveryProcessor) {
    EXPECT_EQ("exit 4", EndOf([] {
                  KzmException::set_transrator();
                  static struct sigaction translation;
                  sigaction(SIGSEGV, nullptr, &translation);
                  SetHandler(SIGSEGV, [](int signalNumber, siginfo_t* info, void* context) {
                      Register(context, REG_RIP) = 0x1234567890123456;
                      Register(context, REG_TRAPNO) = 13;
                      Register(context, REG_ERR) = 0;
                      translation.sa_sigaction(signalNumber, info, context);
                  });
                  return Thrown(0, SIGSEGV);
              }));
}

#endif

// ---- What is thrown ----

TEST(FaultThrown, CountsAsAnExceptionLikeAnyOther) {
    SKIP_UNLESS_TRANSLATED();
    EXPECT_EQ("exit 0", EndOf([] {
                  KzmException::set_transrator();
                  int inFlight = -1;
                  std::exception_ptr kept;
                  try {
                      struct CObserver {
                          int* m_pInFlight;
                          ~CObserver() { *m_pInFlight = std::uncaught_exceptions(); }
                      } const observer{&inFlight};
                      ReadFromNowhere();
                  } catch (...) {
                      kept = std::current_exception();
                  }
                  try {
                      std::rethrow_exception(kept);
                  } catch (const std::exception& exception) {
                      const bool isSame = std::strcmp(exception.what(), "SIGSEGV at 0x10") == 0;
                      return isSame && inFlight == 1 && std::uncaught_exceptions() == 0 ? 0 : 1;
                  }
              }));
}

TEST(FaultThrown, LeavesNoMemoryBehind) {
    SKIP_UNLESS_TRANSLATED();
    EXPECT_EQ("exit 0", EndOf([] {
                  KzmException::set_transrator();
                  const auto used = [] {
                      for (int time = 0; time < 1000; ++time) {
                          try {
                              ReadFromNowhere();
                          } catch (const KzmException&) {
                          }
                      }
                      return mallinfo2().uordblks;
                  };
                  const std::size_t before = used();
                  return used() == before ? 0 : 1;
              }));
}

} // namespace

# One home for how every source of this tree is compiled and linked.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_package(Threads REQUIRED)

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat-security
                    -Werror)

# A fault that the common library turns into an exception is raised by an ordinary instruction, not
# by a call: the unwinder finds its way out only through code compiled like this.
add_compile_options(-fnon-call-exceptions)

# Full RELRO: every symbol is bound and the tables are read-only before the first call.
add_link_options(-Wl,-z,relro,-z,now -Wl,--as-needed)
if(NOT KZM_SANITIZE OR NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  add_link_options(-Wl,-z,defs) # clang leaves the sanitizers' symbols to the program
endif()

# The many programs of tests are linked by the quickest linker there is. The product as it is shipped is
# not: it has the compiler's own.
if(KZM_TESTS)
  find_program(KZM_LLD ld.lld)
  if(KZM_LLD)
    add_link_options(-fuse-ld=lld)
  endif()
endif()

# What counts the lines that it runs is compiled with these: the product, not its tests.
if(KZM_COVERAGE)
  set(KZM_COUNT_LINES --coverage -fprofile-update=atomic)
  add_link_options(--coverage)
  add_library(coverage_exit OBJECT ${CMAKE_SOURCE_DIR}/tests/support/CoverageExit.cpp)
  target_link_options(coverage_exit INTERFACE -Wl,--wrap=_exit,--wrap=_Exit)
  link_libraries(coverage_exit)
endif()

if(KZM_FUZZ)
  # Comparisons are not traced: it takes a third of the time, and the dictionaries have the words.
  add_compile_options(-fsanitize=fuzzer-no-link -fno-sanitize-coverage=trace-cmp)
endif()

if(KZM_SANITIZE)
  add_compile_options(-fsanitize=${KZM_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KZM_SANITIZE})
  # What catches the unwinding of a cancelled thread is handed a null reference by the C++ library.
  if(KZM_SANITIZE MATCHES "undefined")
    set(KZM_CATCHES_CANCELLATION -fno-sanitize=null)
  endif()
  # The sanitizers handle the fault signals themselves.
  add_compile_definitions(KZM_NO_FAULT_TRANSLATION)
elseif(CMAKE_BUILD_TYPE STREQUAL "Release")
  add_compile_options(-fstack-protector-strong)
  add_compile_definitions(_FORTIFY_SOURCE=2)
  # Functions and lines for the packages' debug symbols, without a folder of the machine that builds:
  # the same sources give the same bytes anywhere.
  add_compile_options(-g1 -ffile-prefix-map=${CMAKE_SOURCE_DIR}=/usr/src/kzm-logger
                      -ffile-prefix-map=${CMAKE_BINARY_DIR}=/usr/src/kzm-logger/build)
endif()

# Include lines are written from the root or from platform/, so that each shows the layer it
# reaches into.
include_directories(${CMAKE_SOURCE_DIR} ${CMAKE_SOURCE_DIR}/platform)

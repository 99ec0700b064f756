# Warnings for all of our own code, as errors, the sanitizers that a preset asks for, and what is left out for test
# programs: each test runs once, and compiles faster without being optimised. The undefined behaviour to be found is that
# of the driver: without these checks of the tests' own lines a test program is compiled in two thirds of the time.
set(of_a_test_program $<BOOL:$<TARGET_PROPERTY:KESTRANE_TEST_PROGRAM>>)
add_library(kestrane_flags INTERFACE)
target_compile_options(kestrane_flags INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion -Wsuggest-override -Woverloaded-virtual
  -Wnon-virtual-dtor -Wold-style-cast -Wimplicit-fallthrough)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # The second line: GCC tidies its memory when it has grown to 400 MB, and not at each 128 MB: a part of its time for a
  # unit of tests.
  target_compile_options(kestrane_flags INTERFACE -Wduplicated-cond -Wlogical-op
    --param=ggc-min-heapsize=400000 --param=ggc-min-expand=300)
  if(CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # GCC 12 reports overlapping copies in every optimised "text" + std::string, where there are none.
    target_compile_options(kestrane_flags INTERFACE $<$<NOT:$<CONFIG:Debug>>:-Wno-restrict>)
  endif()
endif()
target_compile_options(kestrane_flags INTERFACE $<${of_a_test_program}:-O0>)
if(KESTRANE_SANITIZE)
  target_compile_options(kestrane_flags INTERFACE
    -fsanitize=${KESTRANE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all
    $<${of_a_test_program}:-fno-sanitize=undefined>)
  target_link_options(kestrane_flags INTERFACE -fsanitize=${KESTRANE_SANITIZE})
  if(KESTRANE_SANITIZE MATCHES address AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_definitions(kestrane_flags INTERFACE __SANITIZE_ADDRESS__=1)  # as GCC defines it for the code
  endif()
endif()
if(KESTRANE_SANITIZE MATCHES thread AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Asio's memory fences, which this sanitizer cannot see; mutexes order the same accesses too.
  target_compile_options(kestrane_flags INTERFACE -Wno-tsan)
endif()

# Warnings for all of our own code, as errors, and the sanitizers that a preset asks for.
add_library(kestrane_flags INTERFACE)
target_compile_options(kestrane_flags INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion -Wsuggest-override -Woverloaded-virtual
  -Wnon-virtual-dtor -Wold-style-cast -Wimplicit-fallthrough)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(kestrane_flags INTERFACE -Wduplicated-cond -Wlogical-op)
  if(CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # GCC 12 reports overlapping copies in every optimised "text" + std::string, where there are none.
    target_compile_options(kestrane_flags INTERFACE $<$<NOT:$<CONFIG:Debug>>:-Wno-restrict>)
  endif()
endif()
if(KESTRANE_SANITIZE)
  target_compile_options(kestrane_flags INTERFACE -fsanitize=${KESTRANE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(kestrane_flags INTERFACE -fsanitize=${KESTRANE_SANITIZE})
  if(KESTRANE_SANITIZE MATCHES address AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_definitions(kestrane_flags INTERFACE __SANITIZE_ADDRESS__=1)  # as GCC defines it for the code
  endif()
endif()
if(KESTRANE_SANITIZE MATCHES thread AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Asio's memory fences, which this sanitizer cannot see; mutexes order the same accesses too.
  target_compile_options(kestrane_flags INTERFACE -Wno-tsan)
endif()

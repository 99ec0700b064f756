# Precompiled headers (KESTRANE_PCH; TESTS: of the test programs alone): the headers that nearly every file of a kind
# includes are compiled once for the build and used by all targets of that kind. A target's kind follows from the
# libraries that it links, so that no folder has to name it.
#
# This is for builds that are made often. The compiler gives no warnings for headers that it reads in this way. So release
# is built without, and bench uses it for its test programs only.

set(KESTRANE_PCH_OPTIMISED $<$<CONFIG:Debug>:-O1>)
set(KESTRANE_PCH_STANDARD <algorithm> <array> <charconv> <chrono> <cmath> <cstdint> <deque> <filesystem> <fstream>
    <functional> <limits> <map> <memory> <mutex> <optional> <set> <span> <sstream> <stdexcept> <string> <string_view>
    <system_error> <thread> <utility> <variant> <vector>)
set(KESTRANE_PCH_BOOST <boost/asio/io_context.hpp> <boost/asio/ip/tcp.hpp> <boost/asio/ip/udp.hpp>
    <boost/asio/steady_timer.hpp> <boost/asio/write.hpp> <boost/beast/core.hpp> <boost/beast/http.hpp> <boost/json.hpp>)
set(KESTRANE_PCH_TEST <gtest/gtest.h>)
set(KESTRANE_PCH_DRIVER <support/driver_fixture.h>)

# The headers of a kind, a list of STANDARD, BOOST, TEST, DRIVER, compiled with these libraries; made once.
function(kestrane_precompiled_kind name kind libraries)
  if(TARGET ${name})
    return()
  endif()
  set(source ${PROJECT_BINARY_DIR}/precompiled/${name}.cpp)
  if(NOT EXISTS ${source})
    file(WRITE ${source} "")
  endif()
  add_library(${name} OBJECT ${source})
  target_link_libraries(${name} PRIVATE kestrane_flags ${libraries})
  # Headers that change are kept out of ccache, which may return one that differs in comments: GCC identifies a header
  # by its bytes and would read it a second time. Clang identifies all of them by their place and age.
  if(DRIVER IN_LIST kind OR CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    set_target_properties(${name} PROPERTIES CXX_COMPILER_LAUNCHER "")
  endif()
  target_compile_options(${name} PRIVATE "$<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>")
  if("TEST" IN_LIST kind)
    set_target_properties(${name} PROPERTIES KESTRANE_TEST_PROGRAM ON)
  elseif(NOT "BOOST" IN_LIST kind)
    target_compile_options(${name} PRIVATE ${KESTRANE_PCH_OPTIMISED})
  endif()
  foreach(headers IN LISTS kind)
    target_precompile_headers(${name} PRIVATE ${KESTRANE_PCH_${headers}})
  endforeach()
endfunction()

# kestrane_precompile(FOLDER): call it when all targets below the folder exist.
function(kestrane_precompile folder)
  kestrane_targets_below(${folder} targets)
  foreach(target IN LISTS targets)
    get_target_property(type ${target} TYPE)
    get_target_property(is_test ${target} KESTRANE_TEST_PROGRAM)
    if(NOT type MATCHES "^(EXECUTABLE|STATIC_LIBRARY|OBJECT_LIBRARY)$" OR (KESTRANE_PCH STREQUAL "TESTS" AND NOT is_test))
      continue()
    endif()
    kestrane_libraries_of(${target} libraries)
    get_target_property(has_windows ${target} AUTOMOC)
    if(has_windows)
      continue()  # compiled with the options of its toolkit
    endif()
    set(kind STANDARD)
    set(name kestrane_pch)
    set(needed "")
    if(Boost::headers IN_LIST libraries)
      list(APPEND kind BOOST)
      string(APPEND name _boost)
      list(APPEND needed Boost::headers)
    endif()
    if(GTest::gtest IN_LIST libraries)
      list(APPEND kind TEST)
      string(APPEND name _test)
      list(APPEND needed GTest::gtest)
      if(kestrane_test_support IN_LIST libraries AND NOT BOOST IN_LIST kind)
        list(APPEND kind DRIVER)
        string(APPEND name _driver)
        list(APPEND needed kestrane_kernel kestrane_test_support)
      endif()
    endif()
    kestrane_precompiled_kind(${name} "${kind}" "${needed}")
    target_precompile_headers(${target} REUSE_FROM ${name})
    # What tests run thousands of times is optimised a little: all of src, but for what talks to a network. That mostly
    # waits, and its templates take much longer to compile when they are optimised.
    if(NOT "TEST" IN_LIST kind AND NOT "BOOST" IN_LIST kind)
      target_compile_options(${target} PRIVATE ${KESTRANE_PCH_OPTIMISED})
    endif()
    # With GCC: lets ccache see with which precompiled header a file was compiled.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
  endforeach()
endfunction()

# kestrane_folder(NAME DEPENDS lib...): one static library from all sources of the current folder (not of folders
# below it). NAME is the folder's path under src with "/" as "_"; interface-only folders get an interface library.
function(kestrane_folder name)
  cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS *.cpp)
  if(sources)
    add_library(kestrane_${name} STATIC ${sources})
    target_include_directories(kestrane_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(kestrane_${name} PUBLIC ${ARG_DEPENDS} PRIVATE kestrane_flags)
    if(KESTRANE_SANITIZE)
      target_link_options(kestrane_${name} PUBLIC -fsanitize=${KESTRANE_SANITIZE})
    endif()
  else()
    add_library(kestrane_${name} INTERFACE)
    target_include_directories(kestrane_${name} INTERFACE ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(kestrane_${name} INTERFACE ${ARG_DEPENDS})
  endif()
endfunction()

# kestrane_program(NAME SOURCE DEPENDS lib...)
function(kestrane_program name source)
  cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
  add_executable(${name} ${source})
  target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} kestrane_flags)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
endfunction()

define_property(TARGET PROPERTY KESTRANE_TEST_PROGRAM BRIEF_DOCS "Whether this is a program of tests")

# kestrane_test_program(NAME SOURCES file... DEPENDS lib... [PROPERTIES name value...]): a program of tests; the
# properties are those of each test.
function(kestrane_test_program name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS;PROPERTIES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} kestrane_flags GTest::gtest GTest::gtest_main)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests KESTRANE_TEST_PROGRAM ON)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120 ${ARG_PROPERTIES})
endfunction()

# kestrane_tests(NAME [SOURCES pattern...] DEPENDS lib...): one test program from all *_test.cpp of the current folder
# and all files of the patterns.
function(kestrane_tests name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS *_test.cpp ${ARG_SOURCES})
  if(sources)
    kestrane_test_program(test_${name} SOURCES ${sources} DEPENDS ${ARG_DEPENDS})
  endif()
endfunction()

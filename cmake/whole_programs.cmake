# kestrane_whole_programs(FOLDER): each test program below the folder as one more test, which runs all that it holds in
# one process; a large program as a few such tests, each with its part:
#
#     ctest --test-dir build/asan -C Whole -L whole
#
# ctest starts a process for each single test. There are thousands of them, and a sanitized process is slow to start.
# Without "-C Whole" these tests do not exist. A program whose tests mostly wait sets KESTRANE_TESTS_WAIT and is left
# out: its tests run better one by one, many at a time.
#
# A program has a share for each 16 files, or as many as KESTRANE_TEST_SHARES says; those with most shares start first, so
# that all processors are busy until the end.
# One whose tests know virtual time only sets KESTRANE_TESTS_PATIENT, and has the label "patient" too: it may run where it
# gets a processor only now and then.
define_property(TARGET PROPERTY KESTRANE_TEST_SHARES BRIEF_DOCS "In how many parts the tests of this program are run")
define_property(TARGET PROPERTY KESTRANE_TESTS_WAIT BRIEF_DOCS "Whether the tests of this program mostly wait for others")
define_property(TARGET PROPERTY KESTRANE_TESTS_PATIENT BRIEF_DOCS "Whether no test of this program looks at real time")

set(KESTRANE_FILES_OF_A_SHARE 16)

function(kestrane_whole_programs folder)
  kestrane_targets_below(${folder} targets)
  foreach(target IN LISTS targets)
    get_target_property(is_test ${target} KESTRANE_TEST_PROGRAM)
    get_target_property(waits ${target} KESTRANE_TESTS_WAIT)
    get_target_property(is_patient ${target} KESTRANE_TESTS_PATIENT)
    if(NOT is_test OR waits)
      continue()
    endif()
    get_target_property(sources ${target} SOURCES)
    get_target_property(working_folder ${target} BINARY_DIR)
    get_target_property(shares ${target} KESTRANE_TEST_SHARES)
    if(NOT shares)
      list(LENGTH sources shares)
      math(EXPR shares "(${shares} - 1) / ${KESTRANE_FILES_OF_A_SHARE} + 1")
    endif()
    set(labels whole)
    if(is_patient)
      list(APPEND labels patient)
    endif()
    math(EXPR last_share "${shares} - 1")
    foreach(share RANGE ${last_share})
      set(test Whole.${target}_${share})
      add_test(NAME ${test} CONFIGURATIONS Whole WORKING_DIRECTORY ${working_folder}
               COMMAND ${target} --gtest_brief=1)
      set_tests_properties(${test} PROPERTIES TIMEOUT 900 COST ${shares} LABELS "${labels}"
        ENVIRONMENT "GTEST_TOTAL_SHARDS=${shares};GTEST_SHARD_INDEX=${share}")
    endforeach()
  endforeach()
endfunction()

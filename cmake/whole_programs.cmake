# kestrane_whole_programs(FOLDER): each test program below the folder as one more test, which runs all that it holds in
# one process; a large program as a few such tests, each with its part:
#
#     ctest --test-dir build/asan -C Whole -L whole
#
# ctest starts a process for each single test. There are thousands of them, and a sanitized process is slow to start.
# Without "-C Whole" these tests do not exist. A program whose tests mostly wait sets KESTRANE_TESTS_WAIT and is left
# out: its tests run better one by one, many at a time.
define_property(TARGET PROPERTY KESTRANE_TESTS_WAIT BRIEF_DOCS "Whether the tests of this program mostly wait for others")

set(KESTRANE_FILES_OF_A_SHARE 16)

function(kestrane_whole_programs folder)
  kestrane_targets_below(${folder} targets)
  foreach(target IN LISTS targets)
    get_target_property(is_test ${target} KESTRANE_TEST_PROGRAM)
    get_target_property(waits ${target} KESTRANE_TESTS_WAIT)
    if(NOT is_test OR waits)
      continue()
    endif()
    get_target_property(sources ${target} SOURCES)
    get_target_property(working_folder ${target} BINARY_DIR)
    list(LENGTH sources shares)
    math(EXPR last_share "(${shares} - 1) / ${KESTRANE_FILES_OF_A_SHARE}")
    math(EXPR shares "${last_share} + 1")
    foreach(share RANGE ${last_share})
      set(test Whole.${target}_${share})
      add_test(NAME ${test} CONFIGURATIONS Whole WORKING_DIRECTORY ${working_folder}
               COMMAND ${target} --gtest_brief=1)
      set_tests_properties(${test} PROPERTIES TIMEOUT 900 LABELS whole
        ENVIRONMENT "GTEST_TOTAL_SHARDS=${shares};GTEST_SHARD_INDEX=${share}")
    endforeach()
  endforeach()
endfunction()

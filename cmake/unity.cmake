# Unity builds (KESTRANE_UNITY): a few files of one folder are compiled as one, which
# takes less than half the time, since most of a file is the same templates again. The contents of their anonymous
# namespaces then meet: no two files of a folder may give different things the same name. Where that is not possible, a
# file stays alone with
#
#     set_source_files_properties(some_test.cpp PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
#
# Who works on a few files and builds often is better off without: cmake --preset dev -DKESTRANE_UNITY=OFF. That each file
# includes what it uses is seen in such a build only: `./test --long` makes one.
#
# The files written here name the sources by their path under src/ or tests/, so that ccache recognises them in another
# clone.

set(KESTRANE_FILES_OF_A_UNIT 12)

# kestrane_unite(FOLDER): the libraries and the test programs; call it when all targets below the folder exist.
function(kestrane_unite folder)
  kestrane_targets_below(${folder} targets)
  foreach(target IN LISTS targets)
    get_target_property(type ${target} TYPE)
    get_target_property(is_test ${target} KESTRANE_TEST_PROGRAM)
    get_target_property(has_windows ${target} AUTOMOC)  # whose generated files CMake's own unity builds know
    if((is_test OR type STREQUAL "STATIC_LIBRARY") AND NOT has_windows)
      kestrane_unite_target(${target} ${folder})
    endif()
  endforeach()
endfunction()

function(kestrane_unite_target target folder)
  get_target_property(sources ${target} SOURCES)
  get_target_property(source_folder ${target} SOURCE_DIR)
  set(units "")
  foreach(source IN LISTS sources)
    cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${source_folder} NORMALIZE)
    get_source_file_property(alone ${source} TARGET_DIRECTORY ${target} SKIP_UNITY_BUILD_INCLUSION)
    if(alone)
      list(APPEND units ${source})
      continue()
    endif()
    cmake_path(RELATIVE_PATH source BASE_DIRECTORY ${folder} OUTPUT_VARIABLE path)
    cmake_path(GET path PARENT_PATH name)
    string(REPLACE "/" "_" name "${name}")
    math(EXPR number "0${count_${name}} / ${KESTRANE_FILES_OF_A_UNIT}")
    math(EXPR count_${name} "0${count_${name}} + 1")
    set(unit ${PROJECT_BINARY_DIR}/unity/${target}/${name}_${number}.cpp)
    string(APPEND text_of_${unit} "#include \"${path}\"\n")
    list(APPEND units ${unit})
  endforeach()
  list(REMOVE_DUPLICATES units)
  foreach(unit IN LISTS units)
    if(DEFINED text_of_${unit})
      file(CONFIGURE OUTPUT ${unit} CONTENT "${text_of_${unit}}" @ONLY)
      # A local name may be the name of something in another file of the unit. Options of sources come last.
      set_source_files_properties(${unit} TARGET_DIRECTORY ${target} PROPERTIES
        COMPILE_OPTIONS "-Wno-shadow;$<$<CXX_COMPILER_ID:GNU>:-Wshadow=local>")
    endif()
  endforeach()
  set_target_properties(${target} PROPERTIES SOURCES "${units}")
endfunction()

# kestrane_comma_locale(TARGET): makes a locale with a decimal comma, de_DE.UTF-8, so that tests need none that is
# installed on the machine. TARGET finds it in the folder KESTRANE_LOCALE_FOLDER, which must be given to LOCPATH. Its
# sources are in the package "locales"; without them a test that needs the locale fails when it runs.
function(kestrane_comma_locale target)
  set(folder ${PROJECT_BINARY_DIR}/locales)
  target_compile_definitions(${target} PRIVATE KESTRANE_LOCALE_FOLDER="${folder}")
  if(NOT TARGET kestrane_comma_locale)
    find_program(LOCALEDEF localedef)
    if(NOT LOCALEDEF OR NOT EXISTS /usr/share/i18n/locales/de_DE)
      message(WARNING "No sources of a comma locale: its tests will fail. Run: tools/setup test")
      return()
    endif()
    add_custom_command(OUTPUT ${folder}/de_DE.UTF-8/LC_NUMERIC
      COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
      COMMAND ${LOCALEDEF} -i de_DE -f UTF-8 --no-archive ${folder}/de_DE.UTF-8
      VERBATIM)
    add_custom_target(kestrane_comma_locale DEPENDS ${folder}/de_DE.UTF-8/LC_NUMERIC)
  endif()
  add_dependencies(${target} kestrane_comma_locale)
endfunction()

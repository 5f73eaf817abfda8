# The manual page of the program and its completions, out of what the program says of itself when it is built.
if(NOT UNIX OR CMAKE_CROSSCOMPILING)
  return()
endif()
find_package(Python3 COMPONENTS Interpreter)
if(NOT Python3_FOUND)
  message(STATUS "Without Python there is neither a manual page nor completions.")
  return()
endif()

# The day of the version, by which the page is dated, is that of the newest change.
file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md heading REGEX "^## ${PROJECT_VERSION}, [0-9-]+$")
if(NOT heading MATCHES "([0-9-]+)$")
  message(FATAL_ERROR "CHANGELOG.md has no heading \"## ${PROJECT_VERSION}, DATE\".")
endif()
set(date ${CMAKE_MATCH_1})
set(folder ${PROJECT_BINARY_DIR}/pages)
set(pages ${folder}/ktmp4.1 ${folder}/ktmp4.1.gz ${folder}/ktmp4.bash ${folder}/_ktmp4 ${folder}/ktmp4.fish)
set(script ${PROJECT_SOURCE_DIR}/scripts/make_program_pages.py)
add_custom_command(OUTPUT ${pages}
  COMMAND ktmp4_program --describe > ${PROJECT_BINARY_DIR}/program.json
  COMMAND ${Python3_EXECUTABLE} ${script} ${date} ${folder} < ${PROJECT_BINARY_DIR}/program.json
  DEPENDS ktmp4_program ${script} CHANGELOG.md VERBATIM)
add_custom_target(ktmp4_program_pages ALL DEPENDS ${pages})

if(KTMP4_INSTALL)
  install(FILES ${folder}/ktmp4.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT program)
  install(FILES ${folder}/ktmp4.bash RENAME ktmp4
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT program)
  install(FILES ${folder}/ktmp4.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT program)
  install(FILES ${folder}/_ktmp4 DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT zsh)
endif()

# What Windows users get: one zip, made by `cpack` in the build folder, with the module, the program, and what an
# application that talks to the filter needs.

# The guide and the limits, in a form that every editor of Windows shows.
function(ktmp4_install_page page name)
  file(READ ${PROJECT_SOURCE_DIR}/docs/${page}.md text)
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/${name}.txt CONTENT "${text}" @ONLY NEWLINE_STYLE DOS)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS docs/${page}.md)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.txt DESTINATION . COMPONENT guide)
endfunction()
ktmp4_install_page(windows README)
ktmp4_install_page(limits LIMITS)

install(TARGETS ktmp4source ktmp4decoder LIBRARY DESTINATION bin COMPONENT module)
# Not built everywhere.
if(TARGET ktmp4captionps)
  install(TARGETS ktmp4captionps LIBRARY DESTINATION bin COMPONENT module)
endif()
install(FILES include/ktmp4/ktmp4source.h include/ktmp4/ktmp4source.idl DESTINATION include/ktmp4 COMPONENT headers)

if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(processor x64)
else()
  set(processor x86)
endif()
set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME ktmp4)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_FILE_NAME ktmp4-${PROJECT_VERSION}-windows-${processor})
set(CPACK_STRIP_FILES ON)
# The library and its headers are for builds, which take them from the source.
set(CPACK_COMPONENTS_ALL guide module program headers example)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
# All of it in one folder.
set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY ON)
include(CPack)

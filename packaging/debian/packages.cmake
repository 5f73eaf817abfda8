# What users of Debian get: three packages, made by `cpack` in the build folder. The program comes with its manual page and
# completions, the library as what runs and as what builds.
find_program(dpkg dpkg-deb)
if(NOT dpkg OR NOT KTMP4_SHARED OR NOT TARGET ktmp4_program_pages)
  return()
endif()

set(library libktmp4-${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})

# Each package says who made it, under which terms, and what is new in it.
find_program(gzip gzip REQUIRED)
set(changelog ${PROJECT_BINARY_DIR}/changelog.gz)
add_custom_command(OUTPUT ${changelog}
  COMMAND ${gzip} -9nc ${PROJECT_SOURCE_DIR}/CHANGELOG.md > ${changelog} DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
add_custom_target(ktmp4_changelog ALL DEPENDS ${changelog})
function(ktmp4_debian_package component name)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/debian/copyright ${changelog}
          DESTINATION share/doc/${name} COMPONENT ${component} EXCLUDE_FROM_ALL)
endfunction()
ktmp4_debian_package(debian-program ktmp4)
ktmp4_debian_package(debian-shared ${library})
ktmp4_debian_package(debian-dev libktmp4-dev)
# Debian's zsh looks here for what packages bring.
install(FILES ${PROJECT_BINARY_DIR}/pages/_ktmp4 DESTINATION share/zsh/vendor-completions
        COMPONENT debian-program EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ktmp4)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Ketral MP4 maintainers <maintainers@ketral.example>")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL program debian-program shared debian-shared library shared-dev debian-dev)
foreach(component program debian-program)
  string(TOUPPER ${component} upper)
  set(CPACK_COMPONENT_${upper}_GROUP program)
endforeach()
foreach(component shared debian-shared)
  string(TOUPPER ${component} upper)
  set(CPACK_COMPONENT_${upper}_GROUP shared)
endforeach()
foreach(component library shared-dev debian-dev)
  string(TOUPPER ${component} upper)
  set(CPACK_COMPONENT_${upper}_GROUP dev)
endforeach()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME ktmp4)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION "looks into MP4 files and copies, captions and hints them
 ktmp4 lists the tracks and samples of ISO base media files (.mp4, .3gp, .m4a),
 prints any of them as text, copies them, adds captions and RTP hint tracks,
 and shows what a DirectShow source filter delivers of them.")

set(CPACK_DEBIAN_SHARED_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_SHARED_PACKAGE_SECTION libs)
# The system looks at its libraries again when this one comes or goes.
file(WRITE ${PROJECT_BINARY_DIR}/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_SHARED_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/triggers)
set(CPACK_DEBIAN_SHARED_DESCRIPTION "library for the ISO base media file format
 Opens files of the ISO base media file format (.mp4, .3gp, .m4a), lists their
 tracks, hands out every sample with its times, and writes such files.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libktmp4-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEV_DESCRIPTION "library for the ISO base media file format, to build with
 The headers of the library, the static library, and what CMake and pkg-config
 need to find both it and the shared one.")
include(CPack)

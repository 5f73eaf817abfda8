# What `cmake --install` lays down of the library: static and shared, the public headers, a CMake package and pkg-config
# files. The components are for packages: "library" does without the shared one, whose parts for programs that are being
# built are "shared-dev".
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# An include reads <ktmp4/mp4_file.h>, as in the tree.
set(KTMP4_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ktmp4)

install(TARGETS ktmp4 EXPORT ktmp4Targets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library)
install(DIRECTORY include/ktmp4 DESTINATION include COMPONENT library)

install(EXPORT ktmp4Targets NAMESPACE ktmp4:: DESTINATION ${KTMP4_PACKAGE_DIR} COMPONENT library)
file(WRITE ${PROJECT_BINARY_DIR}/ktmp4Config.cmake
     "include(\"\${CMAKE_CURRENT_LIST_DIR}/ktmp4Targets.cmake\")\n"
     "include(\"\${CMAKE_CURRENT_LIST_DIR}/ktmp4SharedTargets.cmake\" OPTIONAL)\n")
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ktmp4ConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ktmp4Config.cmake ${PROJECT_BINARY_DIR}/ktmp4ConfigVersion.cmake
        DESTINATION ${KTMP4_PACKAGE_DIR} COMPONENT library)

file(RELATIVE_PATH KTMP4_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
function(ktmp4_install_pkg_config name library component)
  configure_file(cmake/ktmp4.pc.in ${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT ${component})
endfunction()
ktmp4_install_pkg_config(ktmp4 :libktmp4.a library)

if(KTMP4_SHARED)
  install(TARGETS ktmp4_shared EXPORT ktmp4SharedTargets
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT shared NAMELINK_COMPONENT shared-dev)
  install(EXPORT ktmp4SharedTargets NAMESPACE ktmp4:: DESTINATION ${KTMP4_PACKAGE_DIR} COMPONENT shared-dev)
  ktmp4_install_pkg_config(ktmp4-shared ktmp4 shared-dev)
endif()

# What `cmake --install` lays down: the library, its public headers, a CMake package and a pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# An include reads <ktmp4/mp4_file.h>, as in the tree.
set(KTMP4_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ktmp4)

install(TARGETS ktmp4 EXPORT ktmp4Targets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library)
install(DIRECTORY include/ktmp4 DESTINATION include COMPONENT library)

install(EXPORT ktmp4Targets NAMESPACE ktmp4:: DESTINATION ${KTMP4_PACKAGE_DIR} COMPONENT library)
file(WRITE ${PROJECT_BINARY_DIR}/ktmp4Config.cmake
     "include(\"\${CMAKE_CURRENT_LIST_DIR}/ktmp4Targets.cmake\")\n")
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ktmp4ConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ktmp4Config.cmake ${PROJECT_BINARY_DIR}/ktmp4ConfigVersion.cmake
        DESTINATION ${KTMP4_PACKAGE_DIR} COMPONENT library)

file(RELATIVE_PATH KTMP4_PREFIX_FROM_PC /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/ktmp4.pc.in ktmp4.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ktmp4.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT library)

# A header-only package of the build machine for a build for another system. The machine's own include folder
# must stay off the cross compiler's path, so a folder in the build tree leads to the package's folder alone.
#
# ktmp4_header_only(PACKAGE TARGET FOLDER): finds <FOLDER>/ and makes the imported target for it.
macro(ktmp4_header_only package target folder)
  find_path(KTMP4_HOST_${package} NAMES ${folder} PATHS /usr/include /usr/local/include
            NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  if(KTMP4_HOST_${package})
    set(KTMP4_HOST_HEADERS ${CMAKE_BINARY_DIR}/host_headers)
    file(MAKE_DIRECTORY ${KTMP4_HOST_HEADERS})
    file(CREATE_LINK ${KTMP4_HOST_${package}}/${folder} ${KTMP4_HOST_HEADERS}/${folder} SYMBOLIC)
    if(NOT TARGET ${target})
      add_library(${target} INTERFACE IMPORTED GLOBAL)
      target_include_directories(${target} SYSTEM INTERFACE ${KTMP4_HOST_HEADERS})
    endif()
    set(${package}_FOUND TRUE)
  endif()
endmacro()

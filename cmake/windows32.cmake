# 32-bit Windows with MinGW-w64.
set(CMAKE_SYSTEM_PROCESSOR x86)
set(KTMP4_MINGW_TRIPLE i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)

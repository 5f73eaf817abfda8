# x86-64 Windows with MinGW-w64.
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(KTMP4_MINGW_TRIPLE x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)

# Programs that the build wants to run go through Wine, in a prefix of their own below the build folder.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine.sh ${CMAKE_BINARY_DIR}/wine)

# 32-bit Windows with MinGW-w64.
set(CMAKE_SYSTEM_PROCESSOR x86)
set(KTMP4_MINGW_TRIPLE i686-w64-mingw32)

# Hosts of this platform need not keep the stack aligned to more than 4 bytes.
set(CMAKE_C_FLAGS_INIT -mstackrealign)
set(CMAKE_CXX_FLAGS_INIT -mstackrealign)

include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)

# Programs that the build wants to run go through the Wine of a Debian for 32 bits, in a prefix as for 64 bits. The
# first words have a program of that Debian run in it.
set(KTMP4_BESIDE_WINE ${CMAKE_CURRENT_LIST_DIR}/../scripts/bare_debian.sh bookworm i386)
set(CMAKE_CROSSCOMPILING_EMULATOR ${KTMP4_BESIDE_WINE} ${CMAKE_CURRENT_LIST_DIR}/wine.sh ${CMAKE_BINARY_DIR}/wine)

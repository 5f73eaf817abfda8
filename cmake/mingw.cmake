# What the two Windows toolchains share; they name the processor in KTMP4_MINGW_TRIPLE.
set(CMAKE_SYSTEM_NAME Windows)
# The flavour with the C++ library's threads, where a distribution carries two.
find_program(CMAKE_C_COMPILER NAMES ${KTMP4_MINGW_TRIPLE}-gcc-posix ${KTMP4_MINGW_TRIPLE}-gcc REQUIRED)
find_program(CMAKE_CXX_COMPILER NAMES ${KTMP4_MINGW_TRIPLE}-g++-posix ${KTMP4_MINGW_TRIPLE}-g++ REQUIRED)
find_program(CMAKE_RC_COMPILER NAMES ${KTMP4_MINGW_TRIPLE}-windres REQUIRED)

# Runtime and threads go into each program and module: nothing has to be shipped beside them.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")

# Against the interfaces of Windows 7.
add_compile_definitions(WINVER=0x0601 _WIN32_WINNT=0x0601)

set(CMAKE_FIND_ROOT_PATH /usr/${KTMP4_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# What the build machine has as headers or sources only.
list(PREPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR}/cross)

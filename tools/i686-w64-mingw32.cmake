# The 32-bit Windows host, cross-built with mingw-w64. The win32 thread variant needs no
# thread library beside the program and keeps the C++ runtime small.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)

# The tests need std::thread and take the other variant.
set(UNINSTALL_THREADS win32 CACHE STRING "mingw-w64's thread variant: win32 or posix")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES UNINSTALL_THREADS)

set(CMAKE_C_COMPILER i686-w64-mingw32-gcc-${UNINSTALL_THREADS})
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-${UNINSTALL_THREADS})
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)
# Plain ar would need its plugin named by hand for link-time optimised objects.
set(CMAKE_AR i686-w64-mingw32-gcc-ar-${UNINSTALL_THREADS})
set(CMAKE_RANLIB i686-w64-mingw32-gcc-ranlib-${UNINSTALL_THREADS})

set(CMAKE_FIND_ROOT_PATH /usr/i686-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Everything the program needs of GCC travels inside it: no DLL of the compiler is
# looked up beside the exe.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")

# Debian's MinGW for Windows; the compilers with POSIX threads, as the others have no std::mutex.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
# Nothing but Windows itself is needed where a program or the DLL runs.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# Programs of this system run under Wine, in the prefix that scripts/with_wine.sh made.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine_run.sh)

# The interface compiler and what it reads; Debian's places.
set(OHMWISE_WIDL x86_64-w64-mingw32-widl CACHE STRING "Compiler of interface definitions")
set(OHMWISE_WIDL_MACHINE -m64)
set(OHMWISE_IDL_INCLUDE /usr/include/wine/wine/windows CACHE PATH "Folder with oaidl.idl")
set(OHMWISE_STDOLE_FOLDER /usr/lib/x86_64-linux-gnu/wine/x86_64-windows CACHE PATH "Folder with stdole2.tlb")

# Debian's MinGW for Windows; the compilers with POSIX threads, as the others have no std::mutex.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)
# Numbers round as on other machines; callers of a DLL align the stack for themselves only.
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")
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
set(OHMWISE_WIDL i686-w64-mingw32-widl CACHE STRING "Compiler of interface definitions")
set(OHMWISE_WIDL_MACHINE -m32)
set(OHMWISE_IDL_INCLUDE /usr/include/wine/wine/windows CACHE PATH "Folder with oaidl.idl")
set(stdole_folder /usr/lib/i386-linux-gnu/wine/i386-windows)
if(NOT EXISTS ${stdole_folder})  # 32-bit Wine is missing; the library says the same for 64 bits
  set(stdole_folder /usr/lib/x86_64-linux-gnu/wine/x86_64-windows)
endif()
set(OHMWISE_STDOLE_FOLDER ${stdole_folder} CACHE PATH "Folder with stdole2.tlb")

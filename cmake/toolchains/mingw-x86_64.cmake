# SPDX-License-Identifier: MIT
# Cross-compiles for x86_64 Windows with mingw-w64 (Debian package mingw-w64).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# Tests run under Wine where it is installed (wine64 from Debian runs x86_64 programs).
find_program(QMATH_WINE NAMES wine64 wine PATHS /usr/lib/wine)
if(QMATH_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${QMATH_WINE})
endif()

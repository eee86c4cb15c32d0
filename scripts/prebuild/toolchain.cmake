# zig's clang for another system: -DSTILTFORGE_ZIG=PATH -DSTILTFORGE_ZIG_TARGET=TRIPLE. It brings the C
# and C++ libraries of all its targets and looks into no folder of the machine that it runs on.
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES STILTFORGE_ZIG STILTFORGE_ZIG_TARGET)
# The first link for a target builds its libraries; to find out about the compiler needs none.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

string(REGEX MATCH "^[^-]+" CMAKE_SYSTEM_PROCESSOR ${STILTFORGE_ZIG_TARGET})
if(STILTFORGE_ZIG_TARGET MATCHES "-linux-")
  set(CMAKE_SYSTEM_NAME Linux)
elseif(STILTFORGE_ZIG_TARGET MATCHES "-windows-")
  set(CMAKE_SYSTEM_NAME Windows)
elseif(STILTFORGE_ZIG_TARGET MATCHES "-macos")
  set(CMAKE_SYSTEM_NAME Darwin)
  set(CMAKE_OSX_SYSROOT "" CACHE STRING "")
  set(CMAKE_OSX_ARCHITECTURES "" CACHE STRING "")
  set(CMAKE_OSX_DEPLOYMENT_TARGET "" CACHE STRING "")
else()
  message(FATAL_ERROR "no system is known for the target ${STILTFORGE_ZIG_TARGET}")
endif()

set(CMAKE_USER_MAKE_RULES_OVERRIDE ${CMAKE_CURRENT_LIST_DIR}/rules.cmake)
set(CMAKE_C_COMPILER ${STILTFORGE_ZIG} cc -target ${STILTFORGE_ZIG_TARGET})
set(CMAKE_CXX_COMPILER ${STILTFORGE_ZIG} c++ -target ${STILTFORGE_ZIG_TARGET})

# CMake links a program to learn what the compiler is. With the flags of the build this takes the very
# libraries that are linked in the end, which the compiler builds once; without, it would build others
# first. Stripped, since names of files are left out everywhere.
set(CMAKE_C_FLAGS_INIT "-O3 -s")
set(CMAKE_CXX_FLAGS_INIT "-O3 -s")

set(CMAKE_AR ${CMAKE_CURRENT_LIST_DIR}/zig-ar CACHE FILEPATH "")
set(CMAKE_RANLIB ${CMAKE_CURRENT_LIST_DIR}/zig-ranlib CACHE FILEPATH "")

set(CMAKE_FIND_ROOT_PATH ${CMAKE_PREFIX_PATH})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

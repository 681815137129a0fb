# How everything in the tree is compiled. Link a target to kyv_options to get it.

option(KYV_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)
option(KYV_FUZZ "Build the fuzz targets (needs clang)" OFF)
set(KYV_SANITIZE "" CACHE STRING "Sanitizers, as in -fsanitize=: address,undefined or thread")

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS ON) # __int128
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

add_library(kyv_options INTERFACE)
target_compile_options(kyv_options INTERFACE -Wall -Wextra -Wshadow
 $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>)
if(KYV_WARNINGS_AS_ERRORS)
  target_compile_options(kyv_options INTERFACE -Werror)
endif()
if(KYV_SANITIZE)
  add_compile_options(-fsanitize=${KYV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KYV_SANITIZE})
endif()
if(KYV_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link -D_GLIBCXX_ASSERTIONS)
endif()

# Keeps a library's exported names to those that its own sources mark.
function(kyv_hide_standard_library)
  set(map ${PROJECT_SOURCE_DIR}/cmake/hide_standard_library.map)
  foreach(library IN LISTS ARGN)
    target_link_options(${library} PRIVATE -Wl,--version-script=${map})
    set_property(TARGET ${library} APPEND PROPERTY LINK_DEPENDS ${map})
  endforeach()
endfunction()

# Language, warnings, sanitizers and the compiler cache, the same for every target of the tree.
include_guard(GLOBAL)

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
  # One cache then serves every clone and every build folder, also one outside of the tree that names another base.
  if(NOT DEFINED ENV{CCACHE_BASEDIR})
    list(PREPEND CMAKE_CXX_COMPILER_LAUNCHER env "CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}" CCACHE_NOHASHDIR=1)
  endif()
endif()

# Fused operations are written as such, so every architecture computes the same integers.
add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -ffp-contract=off)
if(DETECTION_WERROR)
  add_compile_options(-Werror)
endif()
if(DETECTION_SANITIZE)
  add_compile_options(-fsanitize=${DETECTION_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${DETECTION_SANITIZE})
  if(DETECTION_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()
if(DETECTION_COVERAGE)
  add_compile_options(--coverage)
  add_link_options(--coverage)
endif()

# What the loading process, its engines and the plug-in all compile against.
add_library(seam INTERFACE)
add_library(detection::seam ALIAS seam)
target_include_directories(seam INTERFACE "${DETECTION_PLATFORM_INCLUDE_DIR}" "${PROJECT_SOURCE_DIR}/src")

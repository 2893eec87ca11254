# Compiler settings that every target shares.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Compilations are shared between checkouts (paths below this folder do not count), those with a precompiled header too.
find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_CXX_COMPILER_LAUNCHER env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
    CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime ${CCACHE_PROGRAM})
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 sees an overlapping copy in every `"literal" + std::string` (its bug 105651).
  add_compile_options(-Wno-restrict)
endif()
include_directories(${PROJECT_SOURCE_DIR})

if(VORNELLE_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
  # Files are joined here: what one names for itself, another's locals may be called. Each alone is looked at by GCC.
  add_compile_options(-Wno-shadow)
endif()
if(CMAKE_BUILD_TYPE STREQUAL "Release")
  # Lines for stack traces, the same in every checkout.
  add_compile_options(-g1 -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
endif()
# Most of the program waits for somebody: what is small is loaded soon. What counts in loops is named in libraries.cmake.
if(WIN32)
  set(CMAKE_CXX_FLAGS_RELEASE "-Os -DNDEBUG")
else()
  set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
endif()
if(WIN32)
  # One program file, no DLL beside it.
  add_link_options(-static -Wl,--gc-sections)
  add_compile_options(-ffunction-sections -fdata-sections)
  add_compile_definitions(WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00 WINVER=0x0A00)
endif()

# Debian's fast linker, where it can: Windows programs have their own.
find_program(MOLD_PROGRAM mold)
if(MOLD_PROGRAM AND NOT WIN32)
  add_link_options(-fuse-ld=mold)
endif()

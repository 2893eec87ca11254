# The portable program is one library: every source file of its folders belongs to it, on every system.
# The only choice made by system is which folder implements the platform seam below it.
set(portable_folders core mail pages web desktop)
set(portable_globs ${portable_folders})
list(TRANSFORM portable_globs PREPEND ${PROJECT_SOURCE_DIR}/)
list(TRANSFORM portable_globs APPEND /*.cpp)
file(GLOB portable_sources CONFIGURE_DEPENDS ${portable_globs})
add_library(vornelle_portable STATIC ${portable_sources})
target_compile_definitions(vornelle_portable PRIVATE VORNELLE_ANNOUNCEMENT_URL="${VORNELLE_ANNOUNCEMENT_URL}")

# What needs no system at all, below the platform: text, numbers.
file(GLOB base_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/base/*.cpp)
add_library(vornelle_base STATIC ${base_sources})

# A platform library stands behind vornelle_portable on every link line. Its sources are those of the named folders
# below platform/ and of platform/common/; a new file in one of them is found by itself.
function(platform_library name)
  set(globs common ${ARGN})
  list(TRANSFORM globs PREPEND ${PROJECT_SOURCE_DIR}/platform/)
  list(TRANSFORM globs APPEND /*.cpp)
  file(GLOB sources CONFIGURE_DEPENDS ${globs})
  add_library(${name} STATIC ${sources})
  target_link_libraries(${name} PUBLIC vornelle_base)
endfunction()

if(WIN32)
  platform_library(vornelle_platform win32)
  target_link_libraries(vornelle_platform INTERFACE ws2_32 wininet bcrypt ole32 oleaut32 uuid shell32 comctl32
    comdlg32 advapi32 user32 gdi32 shlwapi secur32 crypt32)
else()
  # TLS is the system's OpenSSL, where it is there; the console program does without.
  find_package(OpenSSL 3)
  if(OPENSSL_FOUND)
    platform_library(vornelle_platform unix posix openssl)
    target_link_libraries(vornelle_platform PUBLIC OpenSSL::SSL)
  else()
    platform_library(vornelle_platform unix posix no_tls)
  endif()
  platform_library(vornelle_sim unix sim)
endif()

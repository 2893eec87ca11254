# One static library for each folder, each linked with the one below it and so with all below: what a folder must not
# know it cannot call. Every source file of a folder belongs to its library, on every system.
#
#   base <- platform <- core <- mail <- pages <- web <- desktop <- startup
#
# The only choice made by system is which folder implements the platform. A program with the property
# ON_SIMULATED_PLATFORM gets the simulated one.
function(folder_library name type)
  set(globs ${ARGN})
  list(TRANSFORM globs PREPEND ${PROJECT_SOURCE_DIR}/)
  list(TRANSFORM globs APPEND /*.cpp)
  file(GLOB sources CONFIGURE_DEPENDS ${globs})
  # Where a running program is put together stands in core/ and above everything.
  list(REMOVE_ITEM sources ${PROJECT_SOURCE_DIR}/core/startup.cpp)
  # The tests of the platform link single files of core/ and mail/, and must get no main window with them.
  if(VORNELLE_SANITIZE AND NOT name MATCHES "^vornelle_(core|mail)$")
    joined_sources(sources ${name} ${sources})
  endif()
  add_library(${name} ${type} ${sources})
endfunction()

folder_library(vornelle_base STATIC base)

# Its sources are those of the named folders below platform/ and, compiled once for all of them, what platforms share.
function(platform_library name)
  list(TRANSFORM ARGN PREPEND platform/ OUTPUT_VARIABLE folders)
  folder_library(${name} STATIC ${folders})
  target_sources(${name} PRIVATE $<TARGET_OBJECTS:vornelle_platform_shared>)
  target_link_libraries(${name} PUBLIC vornelle_base)
endfunction()

if(WIN32)
  # What only encrypted connections, the announcement or a file dialog need is loaded with the first of them: it would
  # hold up every start. A function that is used for the first time is added to the list of its library, or the program
  # does not link.
  set(delayed_libraries)
  foreach(name secur32 crypt32 wininet comdlg32)
    set(definition ${PROJECT_SOURCE_DIR}/cmake/delayed/${name}.def)
    set(library ${PROJECT_BINARY_DIR}/lib${name}_delayed.a)
    execute_process(COMMAND ${CMAKE_DLLTOOL} -d ${definition} -D ${name}.dll -y ${library} COMMAND_ERROR_IS_FATAL ANY)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${definition})
    list(APPEND delayed_libraries ${library})
  endforeach()
  folder_library(vornelle_platform_shared OBJECT platform/common)
  platform_library(vornelle_platform win32)
  target_link_libraries(vornelle_platform INTERFACE ws2_32 bcrypt ole32 oleaut32 uuid shell32 comctl32
    advapi32 user32 gdi32 shlwapi
    ${delayed_libraries} delayimp)
else()
  # TLS is the system's OpenSSL, where it is there; the console program does without.
  find_package(OpenSSL 3)
  folder_library(vornelle_platform_shared OBJECT platform/common platform/unix)
  if(OPENSSL_FOUND)
    platform_library(vornelle_platform posix openssl)
    target_link_libraries(vornelle_platform PUBLIC OpenSSL::SSL)
  else()
    platform_library(vornelle_platform posix no_tls)
  endif()
  platform_library(vornelle_sim sim)
endif()

set(below $<IF:$<BOOL:$<TARGET_PROPERTY:ON_SIMULATED_PLATFORM>>,vornelle_sim,vornelle_platform>)
foreach(folder core mail pages web desktop)
  folder_library(vornelle_${folder} STATIC ${folder})
  target_link_libraries(vornelle_${folder} PUBLIC ${below})
  set(below vornelle_${folder})
endforeach()

add_library(vornelle_startup STATIC core/startup.cpp)
target_link_libraries(vornelle_startup PUBLIC vornelle_desktop)

# What the program says of its version; the number stands in CMakeLists.txt alone.
configure_file(${PROJECT_SOURCE_DIR}/core/version.cpp.in ${PROJECT_BINARY_DIR}/version.cpp @ONLY)
target_sources(vornelle_core PRIVATE ${PROJECT_BINARY_DIR}/version.cpp)
target_compile_definitions(vornelle_web PRIVATE VORNELLE_ANNOUNCEMENT_URL="${VORNELLE_ANNOUNCEMENT_URL}")

# The whole portable program.
add_library(vornelle_portable INTERFACE)
target_link_libraries(vornelle_portable INTERFACE vornelle_startup)

# What goes over every byte of a mailbox is built for speed in a program that is built for size.
if(WIN32)
  set_source_files_properties(
    ${PROJECT_SOURCE_DIR}/base/characters.cpp
    ${PROJECT_SOURCE_DIR}/base/text.cpp
    ${PROJECT_SOURCE_DIR}/base/unicode.cpp
    ${PROJECT_SOURCE_DIR}/core/letter_case.cpp
    ${PROJECT_SOURCE_DIR}/mail/base64.cpp
    ${PROJECT_SOURCE_DIR}/mail/charset.cpp
    ${PROJECT_SOURCE_DIR}/mail/encoded_words.cpp
    ${PROJECT_SOURCE_DIR}/mail/header_fields.cpp
    ${PROJECT_SOURCE_DIR}/mail/line_stream.cpp
    ${PROJECT_SOURCE_DIR}/mail/list_matcher.cpp
    ${PROJECT_SOURCE_DIR}/mail/message_parser.cpp
    ${PROJECT_SOURCE_DIR}/mail/mime.cpp
    ${PROJECT_SOURCE_DIR}/mail/quoted_printable.cpp
    ${PROJECT_SOURCE_DIR}/platform/common/charset.cpp
    ${PROJECT_SOURCE_DIR}/platform/common/code_page.cpp
    PROPERTIES COMPILE_OPTIONS -O2)
endif()

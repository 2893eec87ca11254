# The program, in its application folder beside its data/.
if(WIN32)
  set(desktop_folder desktop/win32)
  set(application_folder ${PROJECT_SOURCE_DIR}/dist/windows)
else()
  set(desktop_folder desktop/console)
  set(application_folder ${PROJECT_SOURCE_DIR}/dist/linux)
endif()
if(VORNELLE_SANITIZE OR VORNELLE_FUZZ OR VORNELLE_BENCH)
  set(application_folder ${PROJECT_BINARY_DIR}/application)
endif()

file(GLOB desktop_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${desktop_folder}/*.cpp)
if(WIN32)
  file(GLOB resource_scripts CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${desktop_folder}/*.rc)
  if(resource_scripts)
    enable_language(RC)
    list(APPEND desktop_sources ${resource_scripts})
  endif()
endif()

if(desktop_sources)
  add_executable(vornelle ${desktop_sources})
  # The portable library calls down into the platform, never the other way.
  target_link_libraries(vornelle PRIVATE vornelle_portable vornelle_platform)
  set_target_properties(vornelle PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${application_folder})
  if(WIN32)
    set_target_properties(vornelle PROPERTIES WIN32_EXECUTABLE ON)
    set_source_files_properties(${resource_scripts} PROPERTIES
      OBJECT_DEPENDS "${PROJECT_SOURCE_DIR}/data/vornelle.ico;${PROJECT_SOURCE_DIR}/desktop/win32/vornelle.manifest")
  endif()
  if(CMAKE_BUILD_TYPE STREQUAL "Release")
    add_custom_command(TARGET vornelle POST_BUILD COMMAND ${CMAKE_STRIP} $<TARGET_FILE:vornelle>)
  endif()
  # The templates get their scripts, and the hashes of these.
  find_program(NODE_PROGRAM NAMES node nodejs REQUIRED)
  add_custom_target(application_data ALL
    COMMAND ${NODE_PROGRAM} ${PROJECT_SOURCE_DIR}/script/templates ${application_folder}/data
    VERBATIM)
  add_dependencies(vornelle application_data)
endif()

# What the tests of TLS speak to their servers with.
if(VORNELLE_TESTS)
  add_executable(tls_probe tests/support/tls_probe.cpp)
  target_link_libraries(tls_probe PRIVATE vornelle_portable vornelle_platform)
endif()

# What the desktop tests look at the windows with, and what they measure the start against.
if(WIN32)
  add_executable(desktop_probe tests/desktop/probe.cpp)
  target_link_libraries(desktop_probe PRIVATE ole32 shell32 uuid version comctl32)
  # The same as the test's browser: without a console window, which would take the focus away.
  add_executable(desktop_browser WIN32 tests/desktop/probe.cpp)
  target_link_libraries(desktop_browser PRIVATE ole32 shell32 uuid version comctl32)
  add_executable(desktop_bare WIN32 tests/desktop/bare.cpp)
endif()

# The program, in its application folder beside its data/.
if(WIN32)
  set(desktop_folder desktop/win32)
  set(application_folder ${PROJECT_SOURCE_DIR}/dist/windows)
else()
  set(desktop_folder desktop/console)
  set(application_folder ${PROJECT_SOURCE_DIR}/dist/linux)
endif()
if(VORNELLE_SANITIZE OR VORNELLE_BENCH)
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
  target_link_libraries(vornelle PRIVATE vornelle_portable)
  set_target_properties(vornelle PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${application_folder})
  if(WIN32)
    set_target_properties(vornelle PROPERTIES WIN32_EXECUTABLE ON)
    configure_file(${PROJECT_SOURCE_DIR}/desktop/win32/vornelle.manifest ${PROJECT_BINARY_DIR}/vornelle.manifest @ONLY)
    target_include_directories(vornelle PRIVATE ${PROJECT_BINARY_DIR})
    set_source_files_properties(${resource_scripts} PROPERTIES
      COMPILE_DEFINITIONS "VORNELLE_VERSION_MAJOR=${PROJECT_VERSION_MAJOR};VORNELLE_VERSION_MINOR=${PROJECT_VERSION_MINOR};VORNELLE_VERSION_REVISION=${PROJECT_VERSION_PATCH}"
      OBJECT_DEPENDS "${PROJECT_SOURCE_DIR}/data/vornelle.ico;${PROJECT_BINARY_DIR}/vornelle.manifest")
  endif()
  if(CMAKE_BUILD_TYPE STREQUAL "Release")
    # What a debugger needs stays behind in symbols/; the program says what the file is called.
    set(symbols ${PROJECT_BINARY_DIR}/symbols/$<TARGET_FILE_NAME:vornelle>.debug)
    add_custom_command(TARGET vornelle POST_BUILD
      COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/symbols
      COMMAND ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:vornelle> ${symbols}
      COMMAND ${CMAKE_STRIP} $<TARGET_FILE:vornelle>
      COMMAND ${CMAKE_OBJCOPY} --add-gnu-debuglink=${symbols} $<TARGET_FILE:vornelle>
      VERBATIM)
  endif()
  # The templates get their scripts, and the hashes of these.
  find_program(NODE_PROGRAM NAMES node nodejs REQUIRED)
  add_custom_target(application_data ALL
    COMMAND ${NODE_PROGRAM} ${PROJECT_SOURCE_DIR}/script/templates ${application_folder}/data
    VERBATIM)
  add_dependencies(vornelle application_data)
endif()

# Part of the package Oxa.
include("${CMAKE_CURRENT_LIST_DIR}/OxaPlugin.cmake")
include(GNUInstallDirs)

# oxa_add_wbm_module(<target> MANIFEST <file> SOURCES … [PAGE <folder>] [LINK …] [OUTPUT_NAME <name>]): a module library of
# the web-based management, lib<name>.so, for the host to load. It exports `CreateWbmModuleLibrary` only. Library and
# manifest are installed; the manifest lies in oxa/modules, relative to the library, in the build folder as well. PAGE: the
# files of the module's page, which are put beside the manifest, into a folder named like it; in the build folder a link,
# so that a change needs no build.
function(oxa_add_wbm_module target)
  cmake_parse_arguments(arg "" "MANIFEST;PAGE" "" ${ARGN})
  if(NOT arg_MANIFEST)
    message(FATAL_ERROR "oxa_add_wbm_module(${target}): MANIFEST is missing")
  endif()
  oxa_add_plugin(${target} MAP WbmModule.map ${arg_UNPARSED_ARGUMENTS})
  target_link_libraries(${target} PRIVATE Oxa::Services.Commons.Wbm)
  cmake_path(GET arg_MANIFEST FILENAME manifestName)
  set(libraryFolder "${CMAKE_CURRENT_BINARY_DIR}")
  if(CMAKE_LIBRARY_OUTPUT_DIRECTORY)
    set(libraryFolder "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
  endif()
  configure_file("${arg_MANIFEST}" "${libraryFolder}/oxa/modules/${manifestName}" COPYONLY)
  install(TARGETS ${target} LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
  install(FILES "${arg_MANIFEST}" DESTINATION "${CMAKE_INSTALL_LIBDIR}/oxa/modules")
  if(arg_PAGE)
    cmake_path(GET arg_MANIFEST STEM name)
    cmake_path(ABSOLUTE_PATH arg_PAGE OUTPUT_VARIABLE page)
    file(CREATE_LINK "${page}" "${libraryFolder}/oxa/modules/${name}" SYMBOLIC)
    install(DIRECTORY "${page}/" DESTINATION "${CMAKE_INSTALL_LIBDIR}/oxa/modules/${name}")
  endif()
endfunction()

# Part of the package Oxa.
include("${CMAKE_CURRENT_LIST_DIR}/OxaPlugin.cmake")

# oxa_add_component(<target> SOURCES … [LINK …] [OUTPUT_NAME <name>]): a component library, lib<name>.so, for the device
# services or the host to load. It exports `CreateComponentLibrary` only.
function(oxa_add_component target)
  oxa_add_plugin(${target} MAP ComponentLibrary.map ${ARGN})
  target_link_libraries(${target} PRIVATE Oxa::System.Acf)
endfunction()

# oxa_add_service_interface(<target> SOURCES … [LINK …]): the shared library of a service interface and its proxy
# factory, for the provider of the service and its callers. It is never unloaded, because the service manager keeps the
# factory's proxies longer than a module or component lives.
function(oxa_add_service_interface target)
  cmake_parse_arguments(arg "" "" "SOURCES;LINK" ${ARGN})
  add_library(${target} SHARED ${arg_SOURCES})
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_link_libraries(${target} PUBLIC ${arg_LINK} Oxa::System.Rsc)
  target_link_options(${target} PRIVATE -Wl,-z,nodelete -Wl,-z,defs -Wl,-z,relro -Wl,-z,now)
endfunction()

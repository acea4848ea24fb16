# Part of the package Oxa.
include("${CMAKE_CURRENT_LIST_DIR}/OxaPlugin.cmake")

# oxa_add_wbm_module(<target> SOURCES … [LINK …] [OUTPUT_NAME <name>]): a module library of the web-based management,
# lib<name>.so, for the host to load. It exports `CreateWbmModuleLibrary` only.
function(oxa_add_wbm_module target)
  oxa_add_plugin(${target} MAP WbmModule.map ${ARGN})
  target_link_libraries(${target} PRIVATE Oxa::Services.Commons.Wbm)
endfunction()

# Part of the package Oxa: the common part of oxa_add_wbm_module() and oxa_add_component().

# oxa_add_plugin(<target> MAP <map> SOURCES … [LINK …] [OUTPUT_NAME <name>]): a library, lib<name>.so, for a process to
# load. It exports the symbols of the map only, and undefined symbols are link errors. It has no unique symbols, which
# would prevent unloading.
function(oxa_add_plugin target)
  cmake_parse_arguments(arg "" "MAP;OUTPUT_NAME" "SOURCES;LINK" ${ARGN})
  if(NOT arg_OUTPUT_NAME)
    set(arg_OUTPUT_NAME "${target}")
  endif()
  set(map "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/${arg_MAP}")
  add_library(${target} MODULE ${arg_SOURCES})
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME "${arg_OUTPUT_NAME}"
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    LINK_DEPENDS "${map}")
  target_compile_features(${target} PRIVATE cxx_std_20)
  target_compile_options(${target} PRIVATE -fno-gnu-unique)
  target_link_libraries(${target} PRIVATE ${arg_LINK})
  target_link_options(${target} PRIVATE "-Wl,--version-script=${map}" -Wl,-z,defs -Wl,-z,relro -Wl,-z,now)
endfunction()

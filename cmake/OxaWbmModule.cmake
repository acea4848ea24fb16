# Part of the package Oxa, and used by the tree itself.

# oxa_add_wbm_module(<target> SOURCES … [LINK …] [OUTPUT_NAME <name>]): a module library of the web-based management,
# lib<name>.so, that the host loads. It exports `CreateWbmModuleLibrary` and nothing else, every symbol it needs is
# resolved while it is linked, and it can be unloaded: unique symbols would keep it in the process for ever.
function(oxa_add_wbm_module target)
  cmake_parse_arguments(arg "" "OUTPUT_NAME" "SOURCES;LINK" ${ARGN})
  if(NOT arg_OUTPUT_NAME)
    set(arg_OUTPUT_NAME "${target}")
  endif()
  set(map "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/WbmModule.map")
  add_library(${target} MODULE ${arg_SOURCES})
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME "${arg_OUTPUT_NAME}"
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    LINK_DEPENDS "${map}")
  target_compile_features(${target} PRIVATE cxx_std_20)
  target_compile_options(${target} PRIVATE -fno-gnu-unique)
  target_link_libraries(${target} PRIVATE ${arg_LINK} Oxa::Services.Commons.Wbm)
  target_link_options(${target} PRIVATE "-Wl,--version-script=${map}" -Wl,-z,defs -Wl,-z,relro -Wl,-z,now)
endfunction()

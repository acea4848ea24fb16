# Settings of every target of this project.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
# The build tree has the layout of the installation and uses the same search path: CMake's own search path for build
# trees ends with an empty element, which the loader takes as the current folder.
set(CMAKE_INSTALL_RPATH "$ORIGIN/../lib" "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}" "$ORIGIN")
list(REMOVE_DUPLICATES CMAKE_INSTALL_RPATH)
set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)

# Sizes over 4 GiB and times after 2038 on 32-bit machines.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  add_compile_definitions(_FILE_OFFSET_BITS=64 _TIME_BITS=64)
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()

set(OXA_SANITIZERS "" CACHE STRING "Sanitizers for every target, for instance address,undefined")
if(OXA_SANITIZERS)
  add_compile_options("-fsanitize=${OXA_SANITIZERS}" -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options("-fsanitize=${OXA_SANITIZERS}")
endif()

add_library(OxaWarnings INTERFACE)
target_compile_options(OxaWarnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow=local -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_compile_options(OxaWarnings INTERFACE -Wthread-safety -Werror=thread-safety)
endif()

# Hardening of every target. Fortified functions require optimisation, and sanitizers make them redundant.
include(CheckCXXCompilerFlag)
add_compile_options(-fstack-protector-strong)
check_cxx_compiler_flag(-fcf-protection OXA_HAS_CF_PROTECTION)
if(OXA_HAS_CF_PROTECTION)
  add_compile_options(-fcf-protection)
endif()
if(NOT OXA_SANITIZERS)
  add_compile_options("$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>")
endif()
add_link_options(-Wl,-z,relro -Wl,-z,now)

# oxa_harden(<target>): an undefined symbol in a library is a link error.
function(oxa_harden target)
  get_target_property(type ${target} TYPE)
  if(NOT type STREQUAL "EXECUTABLE")
    target_link_options(${target} PRIVATE -Wl,-z,defs)
  endif()
endfunction()

# oxa_export_only(<target> <map>): the shared object exports the symbols of the map only. Hidden visibility alone would
# export instantiations of standard templates.
function(oxa_export_only target map)
  target_link_options(${target} PRIVATE "-Wl,--version-script=${map}")
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${map}")
endfunction()

# oxa_add_platform_library(<name> SOURCES … [PUBLIC …] [PRIVATE …]): the shared library libOxa.<name>.so, in the build
# tree and after installation the target Oxa::<name>.
function(oxa_add_platform_library name)
  cmake_parse_arguments(arg "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  set(target "Oxa.${name}")
  add_library(${target} SHARED ${arg_SOURCES})
  add_library("Oxa::${name}" ALIAS ${target})
  set_target_properties(${target} PROPERTIES OUTPUT_NAME "${target}" EXPORT_NAME "${name}")
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_include_directories(${target} PUBLIC
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/Platform>" "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
  target_link_libraries(${target} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE} "$<BUILD_INTERFACE:OxaWarnings>")
  oxa_harden(${target})
  oxa_export_only(${target} "${PROJECT_SOURCE_DIR}/cmake/Platform.map")
  install(TARGETS ${target} EXPORT OxaTargets LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
endfunction()

# Installs the files that the services need beside binaries and libraries: configuration, units, users, descriptions and
# manual pages. Runs as part of `cmake --install`, or alone, without a build:
#     DESTDIR=/tmp/root cmake -D CMAKE_INSTALL_PREFIX=/usr -P Packaging/InstallSystemFiles.cmake
# It is an install script because units and configuration path depend on the prefix, which is known only then. Existing
# configuration files are kept.

foreach(default IN ITEMS OXA_BINDIR:bin OXA_SYSCONFDIR:etc OXA_DATADIR:share OXA_MANDIR:share/man)
  string(REPLACE ":" ";" default "${default}")
  list(GET default 0 name)
  if(NOT ${name})
    list(GET default 1 ${name})
  endif()
endforeach()

set(sources "${CMAKE_CURRENT_LIST_DIR}/..")
# The prefix /usr has its configuration in /etc.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr" AND OXA_SYSCONFDIR STREQUAL "etc")
  set(OXA_SYSCONFDIR "/etc")
endif()
cmake_path(ABSOLUTE_PATH OXA_BINDIR BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" NORMALIZE OUTPUT_VARIABLE bindir)
cmake_path(ABSOLUTE_PATH OXA_SYSCONFDIR BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" NORMALIZE OUTPUT_VARIABLE sysconfdir)
cmake_path(ABSOLUTE_PATH OXA_DATADIR BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" NORMALIZE OUTPUT_VARIABLE datadir)
cmake_path(ABSOLUTE_PATH OXA_MANDIR BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" NORMALIZE OUTPUT_VARIABLE mandir)
set(configuration "${sysconfdir}/oxa")
set(units "${CMAKE_INSTALL_PREFIX}/lib/systemd/system")

function(install_configuration folder name file)
  if(EXISTS "$ENV{DESTDIR}${folder}/${name}")
    message(STATUS "Kept: $ENV{DESTDIR}${folder}/${name}")
  else()
    file(INSTALL DESTINATION "${folder}" TYPE FILE RENAME "${name}" FILES "${file}")
  endif()
endfunction()

install_configuration("${configuration}" oxa-wbm.xml "${sources}/Packaging/etc/oxa-wbm.xml")
install_configuration("${configuration}" Di.xml "${sources}/Host/Configuration/Di.xml")
install_configuration("${configuration}" oxa-device.xml "${sources}/Device/Configuration/oxa-device.xml")

file(GLOB descriptions "${sources}/Device/Descriptions/*.xml")
file(INSTALL DESTINATION "${datadir}/oxa/descriptions" TYPE FILE FILES ${descriptions})
# An existing description is kept, under any file name.
file(GLOB present "$ENV{DESTDIR}${configuration}/device.d/*.xml")
if(NOT present)
  install_configuration("${configuration}/device.d" 10-device.xml "${sources}/Device/Descriptions/pc.xml")
  install_configuration("${configuration}/device.d" 20-commands.xml
    "${CMAKE_CURRENT_LIST_DIR}/etc/device.d/20-commands.xml")
endif()

file(GLOB templates "${CMAKE_CURRENT_LIST_DIR}/systemd/*.in")
foreach(template IN LISTS templates)
  cmake_path(GET template STEM LAST_ONLY unit)
  message(STATUS "Installing: $ENV{DESTDIR}${units}/${unit}")
  configure_file("${template}" "$ENV{DESTDIR}${units}/${unit}" @ONLY)
  list(APPEND CMAKE_INSTALL_MANIFEST_FILES "${units}/${unit}")
endforeach()
file(INSTALL DESTINATION "${units}" TYPE FILE FILES
  "${CMAKE_CURRENT_LIST_DIR}/systemd/oxa-device.socket"
  "${CMAKE_CURRENT_LIST_DIR}/systemd/oxa-factory-reset.service")
file(INSTALL DESTINATION "${CMAKE_INSTALL_PREFIX}/lib/sysusers.d" TYPE FILE FILES
  "${CMAKE_CURRENT_LIST_DIR}/sysusers/oxa.conf")
file(INSTALL DESTINATION "${CMAKE_INSTALL_PREFIX}/lib/tmpfiles.d" TYPE FILE FILES
  "${CMAKE_CURRENT_LIST_DIR}/tmpfiles/oxa.conf")

foreach(section IN ITEMS 5 8)
  file(GLOB pages "${sources}/Docs/man/*.${section}")
  file(INSTALL DESTINATION "${mandir}/man${section}" TYPE FILE FILES ${pages})
endforeach()

# Installs the files of the services, and the package Oxa for modules and components outside this tree. Libraries and
# executables are installed where they are defined.

include(CMakePackageConfigHelpers)

set(OXA_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/Oxa")

# The installed configuration is for two processes; the one in Host/Configuration is for a host that includes the device
# services, as in ./run. Empty variables get the script's defaults.
install(CODE "
  set(OXA_BINDIR \"${CMAKE_INSTALL_BINDIR}\")
  set(OXA_SYSCONFDIR \"${CMAKE_INSTALL_SYSCONFDIR}\")
  set(OXA_DATADIR \"${CMAKE_INSTALL_DATADIR}\")
  set(OXA_MANDIR \"${CMAKE_INSTALL_MANDIR}\")")
install(SCRIPT "${PROJECT_SOURCE_DIR}/Packaging/InstallSystemFiles.cmake")

# Headers in folders named Internal are not installed, except for these two, which modules include; nor are those of
# Database, which is no library of its own.
install(DIRECTORY "${PROJECT_SOURCE_DIR}/Platform/Oxa" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
  FILES_MATCHING PATTERN "*.hpp" PATTERN "Internal" EXCLUDE PATTERN "Database" EXCLUDE)
foreach(public System/Um/Services/Internal Hardware/RealTimeClock/Services/Internal)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/Platform/Oxa/${public}/" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/Oxa/${public}"
    FILES_MATCHING PATTERN "*.hpp")
endforeach()

install(EXPORT OxaTargets NAMESPACE Oxa:: DESTINATION "${OXA_PACKAGE_DIR}")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/OxaConfig.cmake.in" "${PROJECT_BINARY_DIR}/OxaConfig.cmake"
  INSTALL_DESTINATION "${OXA_PACKAGE_DIR}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/OxaConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES
  "${PROJECT_BINARY_DIR}/OxaConfig.cmake"
  "${PROJECT_BINARY_DIR}/OxaConfigVersion.cmake"
  "${CMAKE_CURRENT_LIST_DIR}/OxaPlugin.cmake"
  "${CMAKE_CURRENT_LIST_DIR}/OxaComponent.cmake"
  "${CMAKE_CURRENT_LIST_DIR}/ComponentLibrary.map"
  "${CMAKE_CURRENT_LIST_DIR}/OxaWbmModule.cmake"
  "${CMAKE_CURRENT_LIST_DIR}/WbmModule.map"
  DESTINATION "${OXA_PACKAGE_DIR}")

# Debian packages: the plug-in for a device, and everything to compile against it. Built by scripts/package.
include_guard(GLOBAL)

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(packaging "${PROJECT_SOURCE_DIR}/packaging")
set(generated "${PROJECT_BINARY_DIR}/packaging")
set(module_directory "${CMAKE_INSTALL_LIBDIR}/detection")

# A private folder: the module is loaded by path, never linked.
install(TARGETS detection LIBRARY DESTINATION "${module_directory}" COMPONENT plugin
  PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

install(DIRECTORY "${PROJECT_SOURCE_DIR}/platform/" DESTINATION include/detection COMPONENT dev
  FILES_MATCHING PATTERN "*.h")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/src/plugin/analytics" DESTINATION include/detection/plugin COMPONENT dev
  FILES_MATCHING PATTERN "*.h")
# A host in memory, as source: it is compiled into the program that loads the module.
install(DIRECTORY "${PROJECT_SOURCE_DIR}/host-seam" DESTINATION share/detection-plugin COMPONENT dev)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/examples/host" DESTINATION share/doc/detection-plugin-dev/examples
  COMPONENT dev)
# Nothing in it depends on the architecture, so it stands where every architecture's search ends.
set(config_directory share/cmake/detection-plugin)
configure_package_config_file("${packaging}/detection-plugin-config.cmake.in"
  "${generated}/detection-plugin-config.cmake" INSTALL_DESTINATION "${config_directory}"
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${generated}/detection-plugin-config-version.cmake"
  COMPATIBILITY SameMinorVersion ARCH_INDEPENDENT)
install(FILES "${generated}/detection-plugin-config.cmake" "${generated}/detection-plugin-config-version.cmake"
  DESTINATION "${config_directory}" COMPONENT dev)

configure_file("${packaging}/changelog.in" "${generated}/changelog" @ONLY)
execute_process(COMMAND gzip -9nf "${generated}/changelog" COMMAND_ERROR_IS_FATAL ANY)
foreach(component plugin dev)
  set(suffix "")
  if(component STREQUAL dev)
    set(suffix "-dev")
  endif()
  install(FILES "${generated}/changelog.gz" "${packaging}/copyright"
    DESTINATION "share/doc/detection-plugin${suffix}" COMPONENT ${component})
endforeach()
# The guides that stand in the tree; each links to the others.
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs/" DESTINATION share/doc/detection-plugin-dev COMPONENT dev
  FILES_MATCHING PATTERN "firmware-guide.md" PATTERN "engine-guide.md" PATTERN "host-promises.md")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME detection-plugin)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_CONTACT "${DETECTION_PACKAGE_CONTACT}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL plugin dev)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
if(DETECTION_PACKAGE_ARCHITECTURE)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE "${DETECTION_PACKAGE_ARCHITECTURE}")
endif()
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_PLUGIN_PACKAGE_NAME detection-plugin)
set(CPACK_DEBIAN_PLUGIN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PLUGIN_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_PLUGIN_DESCRIPTION "detection plug-in for a network camera's video pipeline
A filter that the camera's pipeline process loads: it turns every frame
upright, hands it to the analytics engines, passes on what they write, and
serves the ONVIF analytics configuration for every PTZ preset.

The loading process supplies the pipeline framework and the services.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME detection-plugin-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libboost-dev (>= 1.74)")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "detection-plugin (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEV_DESCRIPTION "detection plug-in's interface for engines and firmware
Declarations of the analytics engine interface, of the pipeline framework and
of the services that the plug-in calls, with a CMake package:
find_package(detection-plugin) gives the target detection::seam.
A host that answers every symbol from memory comes as source.")

include(CPack)

enable_testing()
function(add_package_test name)
  add_test(NAME Package.${name} COMMAND "${packaging}/tests/check-packages" ${ARGN}
    --packages "${PROJECT_SOURCE_DIR}/build/packages" --work "${PROJECT_SOURCE_DIR}/build/package-tests")
  set_tests_properties(Package.${name} PROPERTIES LABELS package SKIP_RETURN_CODE 77 TIMEOUT 900 RUN_SERIAL ON)
endfunction()
add_package_test(holdNothingButTheModuleOrTheDeclarations contents)
add_package_test(satisfyTheDistributionsChecker lintian)
add_package_test(amd64InstallsLoadsAndLeavesNothing install --architecture amd64)
add_package_test(arm64InstallsLoadsAndLeavesNothing install --architecture arm64)

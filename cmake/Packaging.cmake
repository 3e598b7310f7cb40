# Debian packages of what is installed. Built by scripts/package.
include_guard(GLOBAL)

set(components plugin dev)
if(DETECTION_BUILD_CAMERA)
  list(APPEND components camera)
endif()

configure_file("${packaging}/changelog.in" "${generated}/changelog" @ONLY)
execute_process(COMMAND gzip -9nf "${generated}/changelog" COMMAND_ERROR_IS_FATAL ANY)
set(documents_of_plugin detection-plugin)
set(documents_of_dev detection-plugin-dev)
set(documents_of_camera virtual-camera)
foreach(component ${components})
  install(FILES "${generated}/changelog.gz" "${packaging}/copyright"
    DESTINATION "share/doc/${documents_of_${component}}" COMPONENT ${component})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME detection-plugin)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_CONTACT "${DETECTION_PACKAGE_CONTACT}")
# The configuration stands outside of the prefix.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL ${components})
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
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libboost-dev (>= 1.74)")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "detection-plugin (= ${PROJECT_VERSION}), libpugixml-dev")
set(CPACK_COMPONENT_DEV_DESCRIPTION "detection plug-in's interface for engines and firmware
Declarations of the analytics engine interface, of the pipeline framework and
of the services that the plug-in calls, with a CMake package:
find_package(Detection) gives the targets Detection::engine and
detection::seam. An example engine and a host that answers every symbol from
memory come as source.")

set(CPACK_DEBIAN_CAMERA_PACKAGE_NAME virtual-camera)
set(CPACK_DEBIAN_CAMERA_PACKAGE_SECTION video)
set(CPACK_DEBIAN_CAMERA_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_CAMERA_PACKAGE_DEPENDS "detection-plugin (= ${PROJECT_VERSION}), dbus-daemon, adduser, fonts-dejavu-core")
set(CPACK_DEBIAN_CAMERA_PACKAGE_RECOMMENDS "fonts-unifont")
set(CPACK_DEBIAN_CAMERA_PACKAGE_CONTROL_EXTRA
  "${packaging}/debian/conffiles;${packaging}/debian/postinst;${packaging}/debian/prerm;${packaging}/debian/postrm")
set(CPACK_COMPONENT_CAMERA_DESCRIPTION "virtual network camera with video analytics
A camera on a PC: it shows a film, a network stream, a video device or
a generated scene to the detection plug-in and its analytics engines, moves
between presets, stores rules for each of them, and reports events and
metadata.

systemctl start virtual-camera@scene starts the camera that
/etc/virtual-camera/scene.conf describes; camera run starts one by hand.")

include(CPack)

enable_testing()
function(add_package_test name)
  add_test(NAME Package.${name} COMMAND "${packaging}/tests/check-packages" ${ARGN}
    --packages "${PROJECT_SOURCE_DIR}/build/packages" --work "${PROJECT_SOURCE_DIR}/build/package-tests")
  set_tests_properties(Package.${name} PROPERTIES LABELS package SKIP_RETURN_CODE 77 TIMEOUT 900 RUN_SERIAL ON)
endfunction()
add_package_test(holdNothingButWhatTheyShould contents)
add_package_test(satisfyTheDistributionsChecker lintian)
add_package_test(amd64InstallsLoadsAndLeavesNothing install --architecture amd64)
add_package_test(arm64InstallsLoadsAndLeavesNothing install --architecture arm64)
add_package_test(anUpgradeLeavesNothingBehind upgrade)
add_package_test(theCameraRunsWhereItIsInstalled camera)
add_package_test(theUnitRunsTheCameraRestricted unit)

# What is installed: the plug-in for a device, everything to build against it, and the virtual camera.
include_guard(GLOBAL)

include(CMakePackageConfigHelpers)

set(packaging "${PROJECT_SOURCE_DIR}/packaging")
set(generated "${PROJECT_BINARY_DIR}/packaging")

install(TARGETS detection LIBRARY DESTINATION "${DETECTION_MODULE_DIR}" COMPONENT plugin
  PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

install(DIRECTORY "${PROJECT_SOURCE_DIR}/platform/" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/detection"
  COMPONENT dev FILES_MATCHING PATTERN "*.h")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/src/plugin/analytics"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/detection/plugin" COMPONENT dev FILES_MATCHING PATTERN "*.h")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/camera/kit" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/detection/camera"
  COMPONENT dev FILES_MATCHING PATTERN "*.h")
install(TARGETS camera_kit ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT dev)
# A host in memory, as source: it is compiled into the program that loads the module.
install(DIRECTORY "${PROJECT_SOURCE_DIR}/host-seam" DESTINATION "${CMAKE_INSTALL_DATADIR}/detection-plugin"
  COMPONENT dev)
set(config_directory "${CMAKE_INSTALL_LIBDIR}/cmake/Detection")
configure_package_config_file("${packaging}/DetectionConfig.cmake.in" "${generated}/DetectionConfig.cmake"
  INSTALL_DESTINATION "${config_directory}"
  PATH_VARS CMAKE_INSTALL_INCLUDEDIR CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_DATADIR DETECTION_MODULE_DIR)
write_basic_package_version_file("${generated}/DetectionConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${generated}/DetectionConfig.cmake" "${generated}/DetectionConfigVersion.cmake"
  DESTINATION "${config_directory}" COMPONENT dev)
set(dev_documents "${CMAKE_INSTALL_DATADIR}/doc/detection-plugin-dev")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/examples/host" "${PROJECT_SOURCE_DIR}/examples/engine"
  DESTINATION "${dev_documents}/examples" COMPONENT dev)
# The guides that stand in the tree; each links to the others.
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs/" DESTINATION "${dev_documents}" COMPONENT dev
  FILES_MATCHING PATTERN "firmware-guide.md" PATTERN "engine-guide.md" PATTERN "host-promises.md"
  PATTERN "images" EXCLUDE)

if(DETECTION_BUILD_CAMERA)
  install(TARGETS camera camera-gateway camera-pipeline camera-services RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
    COMPONENT camera)
  # The models, what a new camera begins with, and what ONVIF clients are told of the engines.
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/camera/cameras" "${PROJECT_SOURCE_DIR}/camera/factory"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/detection" COMPONENT camera)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/camera/descriptions/"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/detection/engines" COMPONENT camera)
  set(camera_documents "${CMAKE_INSTALL_DATADIR}/doc/virtual-camera")
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/examples/" DESTINATION "${camera_documents}/examples" COMPONENT camera
    FILES_MATCHING PATTERN "*.xml" PATTERN "host" EXCLUDE PATTERN "engine" EXCLUDE)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs/" DESTINATION "${camera_documents}" COMPONENT camera
    FILES_MATCHING PATTERN "service-api.md" PATTERN "images" EXCLUDE)
  if(NOT CMAKE_CROSSCOMPILING)
    foreach(program camera camera-gateway camera-pipeline camera-services)
      install(FILES "${PROJECT_BINARY_DIR}/share/man/man1/${program}.1.gz"
        DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT camera)
    endforeach()
    install(FILES "${PROJECT_BINARY_DIR}/share/completions/camera.bash" RENAME camera
      DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT camera)
    set(zsh_functions site-functions)
    if(DETECTION_PACKAGING)
      set(zsh_functions vendor-completions)
    endif()
    install(FILES "${PROJECT_BINARY_DIR}/share/completions/camera.zsh" RENAME _camera
      DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/${zsh_functions}" COMPONENT camera)
  endif()
  configure_file("${packaging}/virtual-camera@.service.in" "${generated}/virtual-camera@.service" @ONLY)
  install(FILES "${generated}/virtual-camera@.service" DESTINATION lib/systemd/system COMPONENT camera)
  # A camera that can be started at once; others are files beside it.
  install(FILES "${packaging}/scene.conf" DESTINATION "${CMAKE_INSTALL_FULL_SYSCONFDIR}/virtual-camera"
    COMPONENT camera)
endif()

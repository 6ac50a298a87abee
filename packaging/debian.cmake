# The Debian packages, which `cpack` makes of the components.

set(debian ${CMAKE_CURRENT_SOURCE_DIR}/debian)
made(changelog.gz ${debian}/changelog COMMAND gzip -9nc ${debian}/changelog)
foreach(component ${vlm_components})
  set(doc ${CMAKE_INSTALL_DATADIR}/doc/${component})
  install_file(${debian}/copyright ${component} ${doc})
  install_file(${CMAKE_CURRENT_BINARY_DIR}/changelog.gz ${component} ${doc})
endforeach()
install(FILES debian/vlm/lintian-overrides RENAME vlm
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT vlm)
if(TARGET vlm_bus_bridge)
  install(FILES debian/vlm-fleet/lintian-overrides RENAME vlm-fleet
    DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT vlm-fleet)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each component has its own
set(CPACK_COMPONENTS_ALL ${vlm_components})
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Velmar camera team <camera@velmar.invalid>")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_VLM_PACKAGE_NAME vlm)
set(CPACK_DEBIAN_VLM_PACKAGE_SECTION embedded)
set(CPACK_DEBIAN_VLM_PACKAGE_RECOMMENDS systemd)
set(CPACK_DEBIAN_VLM_PACKAGE_SUGGESTS "bash-completion, libedit2, vlm-fleet, vlm-tools")
set(CPACK_DEBIAN_VLM_PACKAGE_CONTROL_EXTRA
  ${debian}/vlm/postinst ${debian}/vlm/prerm ${debian}/vlm/postrm)
set(CPACK_COMPONENT_VLM_DESCRIPTION "control and test console of the Velmar camera
The console vlm_test asks the camera-control process of a gimbal camera for
one thing at a time, by number or at a prompt, and prints the answer; vlmctl
reads and writes every setting by name, for people and for scripts. The
service vlm_udp_service lets applications drive the camera over UDP.

Off the camera's board both find a camera on a message bus of their own, such
as the simulated one of the package vlm-tools.")

set(CPACK_DEBIAN_VLM-TOOLS_PACKAGE_NAME vlm-tools)
set(CPACK_DEBIAN_VLM-TOOLS_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_VLM-TOOLS_PACKAGE_RECOMMENDS vlm)
set(CPACK_COMPONENT_VLM-TOOLS_DESCRIPTION "simulated Velmar camera and time-log report
The simulator camera_sim plays the camera on the message bus, with faults on
demand, for the console and the service of the package vlm. The report
vlm_time_report tells from the camera's time log where the clock jumped and
the system stalled.")

set(CPACK_DEBIAN_VLM-FLEET_PACKAGE_NAME vlm-fleet)
set(CPACK_DEBIAN_VLM-FLEET_PACKAGE_SECTION embedded)
set(CPACK_DEBIAN_VLM-FLEET_PACKAGE_SUGGESTS mosquitto)
set(CPACK_DEBIAN_VLM-FLEET_PACKAGE_CONTROL_EXTRA
  ${debian}/vlm-fleet/postinst ${debian}/vlm-fleet/prerm ${debian}/vlm-fleet/postrm)
# What the programs of vlm load is of their own version.
set(CPACK_DEBIAN_VLM-FLEET_PACKAGE_DEPENDS "vlm (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_VLM-FLEET_DESCRIPTION "Velmar cameras behind a broker
With this package console, service and vlmctl of the package vlm reach cameras
on other machines over a broker of MQTT 5, such as mosquitto. On the camera's
machine the bridge vlm_bus_bridge lets the broker's clients ask it, one at a
time. Examples show a broker with TLS and an access list.")

if(CMAKE_CROSSCOMPILING)
  # The libraries of the board are not installed here, where dpkg could ask for their versions.
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6 (>= 2.34), libgcc-s1 (>= 3.5), libstdc++6 (>= 12)")
  string(APPEND CPACK_DEBIAN_VLM-FLEET_PACKAGE_DEPENDS
    ", ${CPACK_DEBIAN_PACKAGE_DEPENDS}, libmosquitto1 (>= 2.0)")
else()
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()

include(CPack)

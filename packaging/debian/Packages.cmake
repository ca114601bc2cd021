# Packages for Debian, a component of the installation each: `cmake --preset package`, which sets /usr and
# its folders, then `cpack` in that build's folder; scripts/packages-check.sh does both. Finish.cmake adds
# to each what a package has beside the installed files.
#
#   quorvid_package(COMPONENT NAME SECTION SUMMARY DESCRIPTION [DEPENDENCY ...])
#
# Dependencies on libraries that are linked are found by dpkg-shlibdeps, those on libraries that are loaded
# later by Finish.cmake.
set(QUORVID_PACKAGE_MAINTAINER "Quorvid maintainers <maintainers@quorvid.example>" CACHE STRING
    "Who answers for the packages")
# Below 1 until 1.0.0 is released, so that its packages take the place of these.
set(QUORVID_PACKAGE_RELEASE 0unreleased1 CACHE STRING "Revision of the packages")
# What is loaded for libquorvid by others, so that its file doesn't name it: libepoxy's EGL.
set(QUORVID_LOADED_LIBRARIES libEGL.so.1 CACHE STRING "Libraries that libquorvid has loaded at run time")
# What is looked for only where a host has brought it.
set(QUORVID_HOST_LIBRARIES libGL.so.1 libGLX.so.0 CACHE STRING "Libraries that only some hosts have")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quorvid)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each has its own
set(CPACK_PACKAGE_CONTACT ${QUORVID_PACKAGE_MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL "")
set(CPACK_DEBIAN_PACKAGE_SOURCE quorvid)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${QUORVID_PACKAGE_RELEASE})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/Finish.cmake)
# For Finish.cmake.
set(CPACK_QUORVID_FILES ${PROJECT_BINARY_DIR}/debian)
set(CPACK_QUORVID_SOURCE ${PROJECT_SOURCE_DIR})
set(CPACK_QUORVID_LOADED ${QUORVID_LOADED_LIBRARIES})
set(CPACK_QUORVID_HOSTS ${QUORVID_HOST_LIBRARIES})
set(this_version "(= ${PROJECT_VERSION}-${QUORVID_PACKAGE_RELEASE})")
configure_file(${CMAKE_CURRENT_LIST_DIR}/changelog.in ${CPACK_QUORVID_FILES}/changelog @ONLY)

macro(quorvid_package component name section summary description)
  string(TOUPPER ${component} upper)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  # One field brings another with it: this CMake has no variable for Multi-Arch.
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION "${section}")
  if("${section}" MATCHES "^lib")
    string(APPEND CPACK_DEBIAN_${upper}_PACKAGE_SECTION "\nMulti-Arch: same")
  endif()
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${description}")
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${ARGN}")
  list(JOIN CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS ", " CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS)
  if("${section}" STREQUAL "libs")
    set(CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA
        "${CPACK_QUORVID_FILES}/${name}/symbols;${CPACK_QUORVID_FILES}/${name}/shlibs"
        "${CPACK_QUORVID_FILES}/${name}/triggers")
  endif()
endmacro()

quorvid_package(quorvid libquorvid1 libs "live H.264 video from vehicle cameras"
"Fetches streams of vehicle cameras over TCP, decodes them and draws them into
windows, or hands out their pictures; for programs in C and C++.
.
No licence for this software has been granted yet.")
set(CPACK_DEBIAN_QUORVID_PACKAGE_RECOMMENDS libgl1-mesa-dri)
quorvid_package(window libquorvid-window1 libs "live video from vehicle cameras - window"
"A window for programs that show live video of vehicle cameras and have no
toolkit of their own.
.
No licence for this software has been granted yet." "libquorvid1 ${this_version}")
quorvid_package(connection libquorvid-connection1 libs "live video from vehicle cameras - network"
"Streams, device lists, relays and positions of vehicles over TCP, for services
without a screen: a plain C interface that needs no graphics.
.
No licence for this software has been granted yet.")
quorvid_package(development libquorvid-dev libdevel "live video from vehicle cameras - development files"
"Headers, CMake and pkg-config files, the manual page and examples for programs
that show or receive live video of vehicle cameras.
.
No licence for this software has been granted yet." "libquorvid1 ${this_version}" "libquorvid-window1 ${this_version}"
  "libquorvid-connection1 ${this_version}")
quorvid_package(tools quorvid-tools video "live video from vehicle cameras - programs"
"The program quorvid shows, records and examines live streams of vehicle cameras
and lists the devices of an account; quorvid-sim is a server to develop
against.
.
No licence for this software has been granted yet." "libquorvid1 ${this_version}" "libquorvid-window1 ${this_version}")
quorvid_package(python python3-quorvid python "live video from vehicle cameras - Python 3 package"
"Pictures of vehicle cameras as numpy arrays, device lists and positions.
.
No licence for this software has been granted yet." python3 python3-numpy "libquorvid1 (>= ${PROJECT_VERSION})"
  "libquorvid-connection1 (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/python/postinst
                                              ${CMAKE_CURRENT_LIST_DIR}/python/prerm)
set(packaged quorvid quorvid_window_shared quorvid_connection_shared quorvid_installed quorvid_sim)
if(TARGET gstquorvid)
  list(APPEND packaged gstquorvid)
  quorvid_package(gstreamer gstreamer1.0-quorvid video "live video from vehicle cameras - GStreamer element"
"The element quorvidsrc brings the live stream of a vehicle camera into
pipelines of GStreamer.
.
No licence for this software has been granted yet." "libquorvid1 (>= ${PROJECT_VERSION})")
endif()
if(TARGET quorvid_desk_installed)
  list(APPEND packaged quorvid_desk_installed)
  if(TARGET quorvid_desk_texts)
    list(APPEND packaged quorvid_desk_texts)
  endif()
  quorvid_package(desk quorvid-desk video "live video from vehicle cameras - application"
"Vehicle Cameras shows and records what the cameras of vehicles see, one or a
wall of many, at a desk, on a display on the wall or on a phone, and says in
words why a picture stays away.
.
No licence for this software has been granted yet." "quorvid-tools ${this_version}" "libquorvid1 ${this_version}"
  "libquorvid-connection1 ${this_version}")
  set(CPACK_DEBIAN_DESK_PACKAGE_RECOMMENDS "libgl1-mesa-dri, librsvg2-common")
  set(CPACK_DEBIAN_DESK_PACKAGE_SUGGESTS gnome-keyring)
endif()
add_custom_target(packaged DEPENDS ${packaged})
include(CPack)

# A room is a static library of position-independent objects. The shared library links every room
# whole; tests link the archives, so that a test may stand in for a whole platform module.
#
#   quorvid_room(NAME SOURCES a.cpp ... [PUBLIC_HEADERS X.h ...] [INSTALL_AS platform])
function(quorvid_room name)
  cmake_parse_arguments(ROOM "" "INSTALL_AS" "SOURCES;PUBLIC_HEADERS" ${ARGN})
  add_library(quorvid_${name} STATIC ${ROOM_SOURCES})
  target_include_directories(quorvid_${name} PUBLIC ${PROJECT_SOURCE_DIR}/include
                                                    ${PROJECT_SOURCE_DIR})
  if(ROOM_PUBLIC_HEADERS)
    set(folder ${name})
    if(ROOM_INSTALL_AS)
      set(folder ${ROOM_INSTALL_AS})
    endif()
    install(FILES ${ROOM_PUBLIC_HEADERS}
            DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quorvid/${folder})
  endif()
endfunction()

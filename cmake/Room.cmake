# A room is a static library of position-independent objects. The shared libraries take whole rooms;
# tests link the archives, so that a test may stand in for one source file of a room.
#
#   quorvid_room(NAME SOURCES a.cpp ... [LINKS library ...])
#
# What is public is a place, not a list: include/quorvid.
function(quorvid_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;LINKS" ${ARGN})
  add_library(quorvid_${name} STATIC ${ROOM_SOURCES})
  target_include_directories(quorvid_${name} PUBLIC ${PROJECT_SOURCE_DIR}/include
                                                    ${PROJECT_SOURCE_DIR})
  target_link_libraries(quorvid_${name} PUBLIC ${ROOM_LINKS})
endfunction()

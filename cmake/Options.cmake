# Language level, warnings and sanitizers for everything in the tree.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# The library and the programs lie at the top of the build folder.
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
# Programs look for the library relative to themselves.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
                    $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options(-Wno-restrict)  # g++ 12 sees overlaps in std::string that are not there
endif()
if(QUORVID_WERROR)
  add_compile_options(-Werror)
endif()
if(QUORVID_SANITIZE)
  # Full optimisation and full debug information would double the time to compile.
  add_compile_options(-fsanitize=${QUORVID_SANITIZE} -fno-omit-frame-pointer -O1 -g1
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${QUORVID_SANITIZE})
  add_library(quorvid_keep_loaded OBJECT ${CMAKE_CURRENT_LIST_DIR}/KeepLoaded.c)
  link_libraries($<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:$<TARGET_OBJECTS:quorvid_keep_loaded>>)
endif()

find_package(Threads REQUIRED)

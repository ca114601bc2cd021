# Drawing and windows: EGL and OpenGL ES contexts, the layer compositor, SDL windows.
find_package(PkgConfig REQUIRED)
pkg_check_modules(EGL REQUIRED IMPORTED_TARGET GLOBAL egl)
pkg_check_modules(GLESV2 REQUIRED IMPORTED_TARGET GLOBAL glesv2)
pkg_check_modules(SDL2 REQUIRED IMPORTED_TARGET GLOBAL sdl2)

target_sources(quorvid_platform PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/Compositor.cpp
  ${CMAKE_CURRENT_LIST_DIR}/Drawable.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EAGLContext.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EAGLLayer.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EglBinding.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EglExtensions.cpp
  ${CMAKE_CURRENT_LIST_DIR}/Embedding.cpp
  ${CMAKE_CURRENT_LIST_DIR}/HostContext.cpp
  ${CMAKE_CURRENT_LIST_DIR}/HostGl.cpp
  ${CMAKE_CURRENT_LIST_DIR}/HostPicture.cpp
  ${CMAKE_CURRENT_LIST_DIR}/LayerTree.cpp
  ${CMAKE_CURRENT_LIST_DIR}/OffscreenTarget.cpp
  ${CMAKE_CURRENT_LIST_DIR}/RefreshClock.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SdlVideo.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SdlWindow.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SdlWindowEvents.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SdlWindowTurn.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ShareGroup.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TextureCache.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TexturePool.cpp
  ${CMAKE_CURRENT_LIST_DIR}/Window.cpp)
target_link_libraries(quorvid_platform PUBLIC PkgConfig::EGL PkgConfig::GLESV2
                      PRIVATE PkgConfig::SDL2)

set(graphics_headers EAGLContext.h EAGLLayer.h Embedding.h HostContext.h TextureCache.h Window.h)
list(TRANSFORM graphics_headers PREPEND ${PROJECT_SOURCE_DIR}/platform/)
install(FILES ${graphics_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quorvid/platform)

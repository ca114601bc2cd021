# Pictures and their decoding: libavcodec decodes, libyuv scales.
find_package(PkgConfig REQUIRED)
pkg_check_modules(AVCODEC REQUIRED IMPORTED_TARGET GLOBAL libavcodec libavutil libswscale)

target_sources(quorvid_platform PRIVATE
  ${PROJECT_SOURCE_DIR}/platform/PixelBuffer.cpp)
target_link_libraries(quorvid_platform PRIVATE PkgConfig::AVCODEC yuv)

install(FILES ${PROJECT_SOURCE_DIR}/platform/PixelBuffer.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quorvid/platform)

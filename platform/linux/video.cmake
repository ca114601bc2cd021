# Pictures and their decoding: libavcodec decodes, libyuv scales.
find_package(PkgConfig REQUIRED)
pkg_check_modules(AVCODEC REQUIRED IMPORTED_TARGET GLOBAL libavcodec libavutil libswscale)

target_sources(quorvid_platform PRIVATE
  ${PROJECT_SOURCE_DIR}/platform/PixelBuffer.cpp
  ${CMAKE_CURRENT_LIST_DIR}/DecoderChain.cpp
  ${CMAKE_CURRENT_LIST_DIR}/DecompressionSession.cpp
  ${CMAKE_CURRENT_LIST_DIR}/H264BitReader.cpp
  ${CMAKE_CURRENT_LIST_DIR}/H264ParameterSets.cpp
  ${CMAKE_CURRENT_LIST_DIR}/H264Pps.cpp
  ${CMAKE_CURRENT_LIST_DIR}/H264ReorderLimit.cpp
  ${CMAKE_CURRENT_LIST_DIR}/H264SliceHeader.cpp
  ${CMAKE_CURRENT_LIST_DIR}/H264Sps.cpp
  ${CMAKE_CURRENT_LIST_DIR}/H264Units.cpp
  ${CMAKE_CURRENT_LIST_DIR}/H264WorkBounds.cpp
  ${CMAKE_CURRENT_LIST_DIR}/HardwareDecoders.cpp
  ${CMAKE_CURRENT_LIST_DIR}/LibavDecoder.cpp
  ${CMAKE_CURRENT_LIST_DIR}/PictureConverter.cpp
  ${CMAKE_CURRENT_LIST_DIR}/PicturePool.cpp
  ${CMAKE_CURRENT_LIST_DIR}/VideoDecompression.cpp)
target_link_libraries(quorvid_platform PRIVATE PkgConfig::AVCODEC yuv)

install(FILES ${PROJECT_SOURCE_DIR}/platform/PixelBuffer.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quorvid/platform)

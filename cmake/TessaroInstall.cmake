# Installs the headers, libtessaro, the host platform libraries, the CMake
# package (tessaro::tessaro) and tessaro.pc.
include(CMakePackageConfigHelpers)

set(TESSARO_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/tessaro)

install(DIRECTORY include/tessaro DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS tessaro EXPORT tessaroTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# The platform libraries with their headers: <VideoBufferLayout.h> at the top
# of the include directory, the extractor's under <media/...>.
if(TARGET videobufferlayout)
  install(TARGETS videobufferlayout EXPORT tessaroTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endif()
if(TARGET mediandk)
  install(TARGETS mediandk EXPORT tessaroTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/media)
  # Beside libmediandk.so, which loads it from there; not part of the exported
  # targets, as no client links it.
  install(TARGETS mediandk_avformat LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

install(EXPORT tessaroTargets NAMESPACE tessaro:: DESTINATION ${TESSARO_CMAKE_DIR})
configure_package_config_file(cmake/tessaroConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/tessaroConfig.cmake INSTALL_DESTINATION ${TESSARO_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/tessaroConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tessaroConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/tessaroConfigVersion.cmake DESTINATION ${TESSARO_CMAKE_DIR})

configure_file(cmake/tessaro.pc.in ${CMAKE_CURRENT_BINARY_DIR}/tessaro.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tessaro.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

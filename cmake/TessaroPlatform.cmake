# The three platform interfaces: the Android log, the media extractor and the
# video buffer layout library. On Android they come from the NDK and the
# device; on a Linux host, real stand-ins do (Debian's liblog, and two
# libraries built here under platform/).
#
# Result: the INTERFACE target tessaro_platform, and TESSARO_HAVE_MEDIANDK.

add_library(tessaro_platform INTERFACE)

if(ANDROID)
  find_library(TESSARO_LOG_LIB log REQUIRED)
  find_library(TESSARO_MEDIANDK_LIB mediandk REQUIRED)
  find_library(TESSARO_LAYOUT_LIB videobufferlayout REQUIRED)
  target_link_libraries(tessaro_platform INTERFACE
    $<BUILD_INTERFACE:${TESSARO_LOG_LIB}>
    $<BUILD_INTERFACE:${TESSARO_MEDIANDK_LIB}>
    $<BUILD_INTERFACE:${TESSARO_LAYOUT_LIB}>)
  # The device's layout library has the same four C functions as the Linux
  # stand-in; its header is taken from the tree unless one is given.
  set(TESSARO_LAYOUT_INCLUDE_DIR ${CMAKE_CURRENT_SOURCE_DIR}/platform/videobufferlayout/include
    CACHE PATH "Directory holding VideoBufferLayout.h")
  target_include_directories(tessaro_platform INTERFACE $<BUILD_INTERFACE:${TESSARO_LAYOUT_INCLUDE_DIR}>)
  set(TESSARO_HAVE_MEDIANDK ON)
  return()
endif()

# Debian's liblog (android-liblog-dev): <android/log.h> under /usr/include/android.
find_path(TESSARO_LIBLOG_INCLUDE_DIR android/log.h PATHS /usr/include/android REQUIRED)
find_library(TESSARO_LIBLOG_LIBRARY NAMES log
  PATHS /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android /usr/lib/android
  NO_DEFAULT_PATH REQUIRED)
add_library(tessaro_liblog INTERFACE)
target_include_directories(tessaro_liblog INTERFACE $<BUILD_INTERFACE:${TESSARO_LIBLOG_INCLUDE_DIR}>)
target_link_libraries(tessaro_liblog INTERFACE $<BUILD_INTERFACE:${TESSARO_LIBLOG_LIBRARY}>)

add_subdirectory(${CMAKE_CURRENT_SOURCE_DIR}/platform ${CMAKE_BINARY_DIR}/platform)

target_link_libraries(tessaro_platform INTERFACE $<BUILD_INTERFACE:tessaro_liblog>)
if(TARGET videobufferlayout)
  target_link_libraries(tessaro_platform INTERFACE $<BUILD_INTERFACE:videobufferlayout>)
endif()
set(TESSARO_HAVE_MEDIANDK OFF)
if(TESSARO_WITH_CONTAINER AND TARGET mediandk)
  target_link_libraries(tessaro_platform INTERFACE $<BUILD_INTERFACE:mediandk>)
  # Not linked but loaded at run time: whatever links the platform needs it built.
  add_dependencies(tessaro_platform mediandk_avformat)
  set(TESSARO_HAVE_MEDIANDK ON)
endif()

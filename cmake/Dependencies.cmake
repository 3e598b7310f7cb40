# Every installed library that the tree builds against, looked up once.
include_guard(GLOBAL)

find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)

find_package(pugixml REQUIRED)
find_package(LibXml2 REQUIRED)
find_package(Boost REQUIRED)
pkg_check_modules(JSONCPP REQUIRED IMPORTED_TARGET jsoncpp)

if(DETECTION_BUILD_CAMERA)
  pkg_check_modules(AV REQUIRED IMPORTED_TARGET libavformat libavcodec libavutil libswscale libavdevice)
  pkg_check_modules(SQLITE REQUIRED IMPORTED_TARGET sqlite3)
  find_package(OpenCV REQUIRED COMPONENTS core imgproc video)
  find_path(YUV_INCLUDE_DIR libyuv.h REQUIRED)
  find_library(YUV_LIBRARY yuv REQUIRED)
  add_library(yuv::yuv INTERFACE IMPORTED)
  target_include_directories(yuv::yuv SYSTEM INTERFACE "${YUV_INCLUDE_DIR}")
  target_link_libraries(yuv::yuv INTERFACE "${YUV_LIBRARY}")
endif()

if(DETECTION_BUILD_TESTS)
  find_package(GTest REQUIRED)
endif()
if(DETECTION_BUILD_BENCH)
  find_package(benchmark REQUIRED)
endif()

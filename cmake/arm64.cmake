# Cross-building for 64-bit Arm with Debian's compiler and the foreign architecture's own packages, which
# install beside the native ones. Test programs run under the user-mode emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_STRIP aarch64-linux-gnu-strip CACHE FILEPATH "")
set(CMAKE_READELF aarch64-linux-gnu-readelf CACHE FILEPATH "")
set(CMAKE_NM aarch64-linux-gnu-nm CACHE FILEPATH "")

# Without this the native libraries' descriptions are found, and with them the native link lines.
set(ENV{PKG_CONFIG_LIBDIR} "/usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig")

find_program(DETECTION_EMULATOR NAMES qemu-aarch64 qemu-aarch64-static)
if(DETECTION_EMULATOR)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${DETECTION_EMULATOR}")
endif()

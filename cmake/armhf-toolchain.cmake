# Cross build for the device's 32-bit ARM user space (armhf): Debian's arm-linux-gnueabihf
# compilers against a sysroot of Debian armhf packages (scripts/armhf-sysroot makes one), with
# every program the build or the tests run on the target going through qemu-arm.
#   cmake --preset armhf                       the sysroot in build-armhf/sysroot
#   cmake -DCMAKE_TOOLCHAIN_FILE=<this> -DCMAKE_SYSROOT=<sysroot> ...
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# Notes that the passing of some arguments changed in GCC 7.1 concern mixing with objects built
# before it; everything here is built by one compiler.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)

if(NOT CMAKE_SYSROOT OR NOT IS_DIRECTORY "${CMAKE_SYSROOT}/usr/include")
  message(FATAL_ERROR "armhf: CMAKE_SYSROOT '${CMAKE_SYSROOT}' is not a sysroot; "
                      "make one with scripts/armhf-sysroot <dir>")
endif()

# Libraries, headers and packages from the sysroot only; programs (pkg-config, the curl tool,
# openssl, python) from the host.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config looks into the sysroot and nowhere else, and prefixes what it reports with it.
set(pkg_config_libdir "${CMAKE_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig")
string(APPEND pkg_config_libdir ":${CMAKE_SYSROOT}/usr/lib/pkgconfig")
string(APPEND pkg_config_libdir ":${CMAKE_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_LIBDIR} "${pkg_config_libdir}")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CMAKE_SYSROOT}")
unset(ENV{PKG_CONFIG_PATH})

# Test programs, gtest's test discovery at build time and try_run all start through this.
find_program(STRMCOMMON_QEMU_ARM qemu-arm REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR "${STRMCOMMON_QEMU_ARM};-L;${CMAKE_SYSROOT}")

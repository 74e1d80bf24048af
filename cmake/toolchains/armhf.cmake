# Cross build for 32-bit ARM (Debian armhf), tests run under qemu-arm.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

# The multiarch libraries live under /usr/lib/arm-linux-gnueabihf, so "/" must
# be a search root beside the cross sysroot.
set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf /)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Plain qemu-arm: with -L /usr/arm-linux-gnueabihf the loader and libc would
# come from two different glibc builds and the programs crash.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm)

# g++ notes that the argument-passing ABI of some structures changed in GCC 7.1;
# everything here is built with the same compiler, so the note says nothing.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")

set(ENV{PKG_CONFIG_LIBDIR} "/usr/lib/arm-linux-gnueabihf/pkgconfig:/usr/share/pkgconfig")

# 32-bit ARM handset (hard-float EABI): plain char is unsigned, 64-bit fields are 8-byte
# aligned, pointers are 4 bytes.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(MDX_CROSS_TRIPLE arm-linux-gnueabihf)
set(MDX_CROSS_QEMU qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
# Everything is built by one compiler, so GCC's notes about argument passing that changed
# in GCC 7.1 are noise.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)

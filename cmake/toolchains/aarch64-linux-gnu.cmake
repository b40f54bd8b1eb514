# 64-bit ARM handset: plain char is unsigned, pointers are 8 bytes.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(MDX_CROSS_TRIPLE aarch64-linux-gnu)
set(MDX_CROSS_QEMU qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)

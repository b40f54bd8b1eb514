# Shared part of the handset toolchains: Debian's cross compilers for MDX_CROSS_TRIPLE, the
# target's libraries under /usr/<triple>, and qemu-user to run what the build produces
# (the test discovery at build time and ctest).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${MDX_CROSS_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${MDX_CROSS_TRIPLE}-g++)

# Libraries, headers and packages come from the target's tree only, so nothing built for
# the build machine leaks into the link. MDX_CROSS_STAGE adds a prefix with what the
# target needs beyond Debian's cross packages (scripts/cross-test stages googletest, built
# for the target, and the header-only JSON library there).
set(CMAKE_FIND_ROOT_PATH /usr/${MDX_CROSS_TRIPLE})
if(MDX_CROSS_STAGE)
  list(APPEND CMAKE_FIND_ROOT_PATH ${MDX_CROSS_STAGE})
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Target binaries run under user-mode emulation with the target's loader and libraries.
set(CMAKE_CROSSCOMPILING_EMULATOR ${MDX_CROSS_QEMU} -L /usr/${MDX_CROSS_TRIPLE})

# 32-bit ARM (hard float) with Debian's cross toolchain
# (g++-arm-linux-gnueabihf); test programs run under qemu-user.
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(KOVO_CROSS_TRIPLET arm-linux-gnueabihf)
set(KOVO_CROSS_MULTIARCH arm-linux-gnueabihf)
include(${CMAKE_CURRENT_LIST_DIR}/CrossLinux.cmake)
set(CMAKE_CROSSCOMPILING_EMULATOR
  qemu-arm -L /usr/${KOVO_CROSS_TRIPLET} -E LD_LIBRARY_PATH=${KOVO_TARGET_LIBRARY_PATH})

# 32-bit x86 with Debian's cross toolchain (g++-i686-linux-gnu). Test programs
# run natively through the toolchain's own loader.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(KOVO_CROSS_TRIPLET i686-linux-gnu)
set(KOVO_CROSS_MULTIARCH i386-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/CrossLinux.cmake)
set(CMAKE_CROSSCOMPILING_EMULATOR
  /usr/${KOVO_CROSS_TRIPLET}/lib/ld-linux.so.2 --library-path ${KOVO_TARGET_LIBRARY_PATH})

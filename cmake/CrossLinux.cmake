# Shared part of the 32-bit cross toolchain files. The including file sets
# KOVO_CROSS_TRIPLET (the compiler prefix), KOVO_CROSS_MULTIARCH (Debian's
# library directory name) and CMAKE_SYSTEM_PROCESSOR.
#
# The target's libuuid and GoogleTest come from Debian's packages for that
# architecture, unpacked into a sysroot (tools/cross-sysroot.sh); by default
# it is <build dir>/sysroot, or -DKOVO_SYSROOT=... names another.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${KOVO_CROSS_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${KOVO_CROSS_TRIPLET}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${KOVO_CROSS_MULTIARCH})

if(NOT KOVO_SYSROOT)
  set(KOVO_SYSROOT ${CMAKE_BINARY_DIR}/sysroot)
endif()
# try_compile projects read this file again in their own binary dir.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KOVO_SYSROOT)

set(CMAKE_FIND_ROOT_PATH /usr/${KOVO_CROSS_TRIPLET} ${KOVO_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config must not offer the build machine's libraries (libav for the
# simulator) to a target that cannot link them.
set(ENV{PKG_CONFIG_LIBDIR} ${KOVO_SYSROOT}/usr/lib/${KOVO_CROSS_MULTIARCH}/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${KOVO_SYSROOT})

# The library's own dependencies live in the sysroot; the linker needs them
# when a program links the shared library alone.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-rpath-link,${KOVO_SYSROOT}/usr/lib/${KOVO_CROSS_MULTIARCH}")

set(KOVO_TARGET_LIBRARY_PATH /usr/${KOVO_CROSS_TRIPLET}/lib:${KOVO_SYSROOT}/usr/lib/${KOVO_CROSS_MULTIARCH})

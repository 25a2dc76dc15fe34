# Cross build for AArch64 against a folder with Debian's arm64 packages, made and named by
# scripts/test-arm64.sh; the programs run under qemu.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES MORVIK_SYSROOT)
set(CMAKE_SYSROOT ${MORVIK_SYSROOT})
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(lib_dir ${MORVIK_SYSROOT}/usr/lib/aarch64-linux-gnu)
# Debian's alternatives system, which an unpacked package does not run, links these two folders.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-rpath-link,${lib_dir}/blas:${lib_dir}/lapack")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${CMAKE_EXE_LINKER_FLAGS_INIT}")
set(CMAKE_CROSSCOMPILING_EMULATOR
  qemu-aarch64 -L ${MORVIK_SYSROOT} -E LD_LIBRARY_PATH=${lib_dir}/blas:${lib_dir}/lapack)

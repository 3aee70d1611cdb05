# Toolchain file for another architecture of tools/architectures: Debian's cross compiler and a folder of
# unpacked Debian packages.
#
#   cmake -DCMAKE_TOOLCHAIN_FILE=cmake/Cross.cmake -DZSTATS_ARCH=arm64 ...
#
# Builds only programs for the device. The check of profiles, which runs on this machine, comes from a build
# for this machine.
include(${CMAKE_CURRENT_LIST_DIR}/Architecture.cmake)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZSTATS_ARCH)
architecture_value(triplet triplet)
architecture_value(CMAKE_SYSTEM_PROCESSOR machine)

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
execute_process(
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/../host/aosp/apt-private sysroot ${ZSTATS_ARCH}
    OUTPUT_VARIABLE CMAKE_SYSROOT OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
# The folder's start files and C library must take precedence over the compiler's.
foreach(language C CXX)
    set(CMAKE_${language}_FLAGS_INIT -B${CMAKE_SYSROOT}/usr/lib/${triplet})
endforeach()

# Programs that the build runs are this machine's; libraries and headers are the device's.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind LIBRARY INCLUDE PACKAGE)
    set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/${triplet}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)

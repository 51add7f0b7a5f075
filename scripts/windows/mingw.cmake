# What both Windows targets share: Debian's mingw-w64 compilers with posix threads, and the Qt, libssh2 and
# OpenSSL that build-cache.sh put into the cache, named by OMBRIVANE_WIN_PREFIXES (a list of folders).
# Included by toolchain-i686.cmake and toolchain-x86_64.cmake, which name the triple.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${OMBRIVANE_WIN_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${OMBRIVANE_WIN_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${OMBRIVANE_WIN_TRIPLE}-windres)

# Only the cross-built libraries and the mingw headers are looked up; programs (moc, uic, rcc, pkg-config)
# are the build machine's.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES OMBRIVANE_WIN_PREFIXES)
set(CMAKE_FIND_ROOT_PATH ${OMBRIVANE_WIN_PREFIXES} /usr/${OMBRIVANE_WIN_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config reads the cross-built libraries' files alone, never the build machine's.
set(_ombrivane_pkgconfig "")
foreach(_prefix IN LISTS OMBRIVANE_WIN_PREFIXES)
    list(APPEND _ombrivane_pkgconfig "${_prefix}/lib/pkgconfig")
endforeach()
string(REPLACE ";" ":" _ombrivane_pkgconfig "${_ombrivane_pkgconfig}")
set(ENV{PKG_CONFIG_LIBDIR} "${_ombrivane_pkgconfig}")
set(ENV{PKG_CONFIG_PATH} "")

# 32-bit Windows, the program users install. Its programs cannot run on this machine (no 32-bit Wine).
set(CMAKE_SYSTEM_PROCESSOR i686)
set(OMBRIVANE_WIN_TRIPLE i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)

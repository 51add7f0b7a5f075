# 32-bit Windows, the program users install. Its programs and tests run under the 32-bit Wine of the root
# that scripts/windows/wine32-root.sh makes.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(OMBRIVANE_WIN_TRIPLE i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../wine)

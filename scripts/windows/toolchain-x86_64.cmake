# 64-bit Windows: the same code, its programs and tests run under Debian's wine64.
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(OMBRIVANE_WIN_TRIPLE x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../wine)

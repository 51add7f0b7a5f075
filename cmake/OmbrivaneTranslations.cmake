# Qt's own Chinese texts for its standard dialogs are compiled in from the installed Qt translations.
# A cross build names the folder itself: its Qt comes without translations.
set(OMBRIVANE_QT_TRANSLATIONS "" CACHE PATH "Folder of Qt's translations; empty: the one qmake reports")
if(NOT OMBRIVANE_QT_TRANSLATIONS)
    get_target_property(_ombrivane_qmake Qt5::qmake IMPORTED_LOCATION)
    execute_process(COMMAND ${_ombrivane_qmake} -query QT_INSTALL_TRANSLATIONS
                    OUTPUT_VARIABLE OMBRIVANE_QT_TRANSLATIONS OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
set(OMBRIVANE_QTBASE_QM "${OMBRIVANE_QT_TRANSLATIONS}/qtbase_zh_CN.qm")
if(NOT EXISTS "${OMBRIVANE_QTBASE_QM}")
    message(FATAL_ERROR "Qt's Chinese translation ${OMBRIVANE_QTBASE_QM} is missing (Debian: qttranslations5-l10n)")
endif()

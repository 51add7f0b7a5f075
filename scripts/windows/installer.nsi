; The Windows installer of the program folder that scripts/windows.sh staged: into Program Files, with a
; Start-menu shortcut named as the main window's title names the product, and an uninstaller.
;
;   makensis -INPUTCHARSET UTF8 -DVERSION=1.0.0 -DARCH=i686|x86_64 -DSTAGE=folder -DOUTFILE=setup.exe installer.nsi
;
; STAGE holds the program and what it loads; STAGE.files lists its files and STAGE.folders its folders,
; deepest first, for the uninstaller, which removes only those (and the program's logs).

Unicode true
SetCompressor /SOLID lzma
!define PRODUCT "Veltra-客户端工具"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\ombrivane"

!if ${ARCH} == x86_64
    Target amd64-unicode
    InstallDir "$PROGRAMFILES64\ombrivane"
!else
    InstallDir "$PROGRAMFILES\ombrivane"
!endif

Name "${PRODUCT}"
OutFile "${OUTFILE}"
RequestExecutionLevel admin
ShowInstDetails nevershow
VIProductVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "${PRODUCT}"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "FileDescription" "${PRODUCT} 安装程序"
VIAddVersionKey "LegalCopyright" "ombrivane"

Page directory
Page instfiles
UninstPage uninstConfirm
UninstPage instfiles

Function .onInit
!if ${ARCH} == x86_64
    SetRegView 64
!endif
FunctionEnd

Function un.onInit
!if ${ARCH} == x86_64
    SetRegView 64
!endif
FunctionEnd

Section
    SetShellVarContext all
    SetOutPath "$INSTDIR"
    File /r "${STAGE}\*"
    WriteUninstaller "$INSTDIR\uninstall.exe"
    CreateShortcut "$SMPROGRAMS\${PRODUCT}.lnk" "$INSTDIR\ombrivane.exe"
    WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayName" "${PRODUCT}"
    WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
    WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\ombrivane.exe"
    WriteRegStr HKLM "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
    WriteRegStr HKLM "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
    WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoModify" 1
    WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoRepair" 1
SectionEnd

Section "Uninstall"
    SetShellVarContext all
    Delete "$SMPROGRAMS\${PRODUCT}.lnk"
    !include "${STAGE}.files"
    ; The logs hold the sign-in codes in clear: they go with the program.
    Delete "$INSTDIR\log\vorlog*.log"
    RMDir "$INSTDIR\log"
    !include "${STAGE}.folders"
    Delete "$INSTDIR\uninstall.exe"
    RMDir "$INSTDIR"
    DeleteRegKey HKLM "${UNINSTALL_KEY}"
SectionEnd

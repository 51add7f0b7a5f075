; The Windows installer of the program folder that scripts/windows.sh staged. It installs for the current
; user, without an administrator prompt, into the user's own programs folder, so that the log the program
; writes beside itself can be written; pages, messages and uninstaller in Simplified Chinese.
;
;   makensis -INPUTCHARSET UTF8 -DVERSION=1.0.0 -DARCH=i686|x86_64 -DSTAGE=folder -DOUTFILE=setup.exe installer.nsi
;
; (-DCOMPRESSOR=zlib packs faster, for installers made only to be tested.)
;
; STAGE holds the program and what it loads; STAGE.files lists its files and STAGE.folders its folders,
; deepest first, for the uninstaller, which removes only those, the program's logs and its registry key.
;
; Command line: /S installs silently; /D=FOLDER (last) chooses the folder; /WAIT=SECONDS bounds how long a
; silent install or uninstall waits for the running program to be closed (30 by default).
; Exit codes: 0 done; 1 cancelled by the user (also "cancel" when asked to close the running program);
; 2 stopped by an error; 3 the program was still running when a silent install or uninstall gave up waiting.
; A new version over an older one runs the older one's uninstaller first, which keeps the logs.

Unicode true
!ifndef COMPRESSOR
    !define COMPRESSOR "/SOLID lzma"
!endif
SetCompressor ${COMPRESSOR}
!include MUI2.nsh
!include LogicLib.nsh
!include FileFunc.nsh

!define PRODUCT "Veltra-客户端工具"
!define EXE "ombrivane.exe"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\ombrivane"
!define EXIT_STILL_RUNNING 3
!define DEFAULT_WAIT_SECONDS 30

!if ${ARCH} == x86_64
    Target amd64-unicode
!endif
InstallDir "$LOCALAPPDATA\Programs\ombrivane"
InstallDirRegKey HKCU "${UNINSTALL_KEY}" "InstallLocation"
RequestExecutionLevel user

Name "${PRODUCT}"
OutFile "${OUTFILE}"
BrandingText "${PRODUCT} ${VERSION}"
ShowInstDetails nevershow
ShowUninstDetails nevershow
VIProductVersion "${VERSION}.0"
VIAddVersionKey /LANG=2052 "ProductName" "${PRODUCT}"
VIAddVersionKey /LANG=2052 "ProductVersion" "${VERSION}"
VIAddVersionKey /LANG=2052 "FileVersion" "${VERSION}"
VIAddVersionKey /LANG=2052 "FileDescription" "${PRODUCT} 安装程序"
VIAddVersionKey /LANG=2052 "LegalCopyright" "ombrivane"

!define MUI_ABORTWARNING
!define MUI_COMPONENTSPAGE_NODESC
!define MUI_FINISHPAGE_RUN "$INSTDIR\${EXE}"
!insertmacro MUI_PAGE_WELCOME
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_UNPAGE_FINISH
!insertmacro MUI_LANGUAGE "SimpChinese"

; Waits until the program in FOLDER is closed. A running program's image cannot be opened for writing, so
; an open for writing that fails means it runs. The user is asked to close it (retry or cancel); a silent
; run waits /WAIT seconds and then quits with EXIT_STILL_RUNNING.
!macro WAIT_FOR_CLOSED_PROGRAM UN
Function ${UN}WaitForClosedProgram
    Exch $0 ; FOLDER
    Push $1
    Push $2
    Push $3
    ${${UN}GetParameters} $1
    ClearErrors
    ${${UN}GetOptions} $1 "/WAIT=" $2
    ${If} ${Errors}
        StrCpy $2 ${DEFAULT_WAIT_SECONDS}
    ${EndIf}
    StrCpy $3 0
    ${Do}
        ${IfNot} ${FileExists} "$0\${EXE}"
            ${Break}
        ${EndIf}
        ClearErrors
        FileOpen $1 "$0\${EXE}" a
        ${IfNot} ${Errors}
            FileClose $1
            ${Break}
        ${EndIf}
        ${If} ${Silent}
            ${If} $3 >= $2
                SetErrorLevel ${EXIT_STILL_RUNNING}
                Quit
            ${EndIf}
            Sleep 1000
            IntOp $3 $3 + 1
        ${ElseIf} ${Cmd} `MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "${PRODUCT} 正在运行。$\r$\n$\r$\n请先关闭它，然后点击“重试”继续；点击“取消”退出。" IDCANCEL`
            SetErrorLevel 1
            Quit
        ${EndIf}
    ${Loop}
    Pop $3
    Pop $2
    Pop $1
    Pop $0
FunctionEnd
!macroend
!insertmacro WAIT_FOR_CLOSED_PROGRAM ""
!insertmacro WAIT_FOR_CLOSED_PROGRAM "un."

; An earlier installation goes first, through its own uninstaller, so that no file it had and this version
; lacks stays behind. It runs in place (_?=) so that this installer waits for it; the logs stay.
Function RemoveEarlierVersion
    ReadRegStr $0 HKCU "${UNINSTALL_KEY}" "InstallLocation"
    ${If} $0 != ""
    ${AndIf} ${FileExists} "$0\uninstall.exe"
        Push $0
        Call WaitForClosedProgram
        ExecWait '"$0\uninstall.exe" /S /UPGRADE _?=$0'
        Delete "$0\uninstall.exe"
        RMDir "$0"
    ${EndIf}
FunctionEnd

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

Section "${PRODUCT}" SectionProgram
    SectionIn RO
    Push $INSTDIR
    Call WaitForClosedProgram
    Call RemoveEarlierVersion
    SetOutPath "$INSTDIR"
    File /r "${STAGE}\*"
    WriteUninstaller "$INSTDIR\uninstall.exe"
    CreateShortcut "$SMPROGRAMS\${PRODUCT}.lnk" "$INSTDIR\${EXE}"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayName" "${PRODUCT}"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "Publisher" "ombrivane"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\${EXE}"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
    WriteRegStr HKCU "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
    WriteRegStr HKCU "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
    WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoModify" 1
    WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoRepair" 1
    ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
    WriteRegDWORD HKCU "${UNINSTALL_KEY}" "EstimatedSize" $0
SectionEnd

Section /o "桌面快捷方式" SectionDesktop
    CreateShortcut "$DESKTOP\${PRODUCT}.lnk" "$INSTDIR\${EXE}"
SectionEnd

Section "Uninstall"
    Push $INSTDIR
    Call un.WaitForClosedProgram
    Delete "$SMPROGRAMS\${PRODUCT}.lnk"
    Delete "$DESKTOP\${PRODUCT}.lnk"
    !include "${STAGE}.files"
    ; The logs hold the sign-in codes in clear: they go with the program, but stay over an upgrade.
    ${un.GetParameters} $0
    ClearErrors
    ${un.GetOptions} $0 "/UPGRADE" $1
    ${If} ${Errors}
        Delete "$INSTDIR\log\vorlog*.log"
        RMDir "$INSTDIR\log"
    ${EndIf}
    !include "${STAGE}.folders"
    Delete "$INSTDIR\uninstall.exe"
    RMDir "$INSTDIR"
    DeleteRegKey HKCU "${UNINSTALL_KEY}"
SectionEnd

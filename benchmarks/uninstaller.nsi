; The same core job as the exe's relaunched run, as a script-made uninstaller does it:
; the program folder, the program group, the product's keys, one claim less on the shared
; files, and the entry in the list of programs. It shows a progress window and asks and says
; the same, with themed controls, or nothing at all if QUIET is defined. Uncompressed and
; without checksum: nothing is to hold it up.
Unicode true
Name "Tessorin"
OutFile "${OUTFILE}"
RequestExecutionLevel user
SetCompress off
CRCCheck off
!ifdef QUIET
  SilentInstall silent
!else
  Caption "UnInstaller"
  XPStyle on
  Page instfiles
  ShowInstDetails nevershow
  AutoCloseWindow true
!endif

!define FOLDER "C:\Programme\Büro Tessorin"
!define COUNTS "Software\Microsoft\Windows\CurrentVersion\SharedDLLs"

!macro ReleaseSharedFile NAME
  ClearErrors
  ReadRegDWORD $0 HKLM "${COUNTS}" "$SYSDIR\${NAME}"
  ${IfNot} ${Errors}
    IntOp $0 $0 - 1
    ${If} $0 > 0
      WriteRegDWORD HKLM "${COUNTS}" "$SYSDIR\${NAME}" $0
    ${Else}
      DeleteRegValue HKLM "${COUNTS}" "$SYSDIR\${NAME}"
    ${EndIf}
  ${EndIf}
!macroend
!include LogicLib.nsh

Section
  SetShellVarContext all
  Delete "${FOLDER}\Tessorin.exe"
  Delete "${FOLDER}\UnInstall.exe"
!ifndef QUIET
  MessageBox MB_YESNO|MB_ICONQUESTION 'Das Verzeichnis "${FOLDER}" ist nicht leer. Soll es dennoch gelöscht werden?' IDNO kept
!endif
  RMDir /r "${FOLDER}"
  kept:
  !insertmacro ReleaseSharedFile "Msvbvm60.dll"
  !insertmacro ReleaseSharedFile "MSComCtl.ocx"
  !insertmacro ReleaseSharedFile "RichTx32.ocx"
  Delete "$SMPROGRAMS\Tessorin\Tessorin.lnk"
  Delete "$SMPROGRAMS\Tessorin\Deinstallieren.lnk"
  Delete "$SMPROGRAMS\Tessorin\Tessorin-Website.lnk"
  Delete "$SMPROGRAMS\Tessorin\Tessorin Website.lnk"
  RMDir /r "$SMPROGRAMS\Tessorin"
  DeleteRegKey HKLM "Software\Verlonix\Tessorin"
  DeleteRegKey /ifempty HKLM "Software\Verlonix"
  DeleteRegKey HKCU "Software\Verlonix\Tessorin"
  DeleteRegKey /ifempty HKCU "Software\Verlonix"
!ifndef QUIET
  MessageBox MB_YESNO|MB_ICONQUESTION "Sollen die Windows-Integrationseinstellungen von Tessorin zurückgesetzt werden?" IDNO 0
!endif
  DeleteRegKey HKLM "Software\Microsoft\Windows\CurrentVersion\Uninstall\Tessorin"
!ifndef QUIET
  MessageBox MB_OK|MB_ICONINFORMATION "Die Deinstallation wurde erfolgreich abgeschlossen."
!endif
SectionEnd

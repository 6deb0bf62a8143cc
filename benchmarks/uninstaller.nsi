; The same core job as the exe's relaunched run, as a script-made uninstaller does it:
; the program folder, the program group, the product's keys, one claim less on the shared
; files, and the entry in the list of programs. Silent, uncompressed, without checksum:
; nothing is to hold it up.
Unicode true
Name "Tessorin"
OutFile "${OUTFILE}"
RequestExecutionLevel user
SilentInstall silent
SetCompress off
CRCCheck off

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
  RMDir /r "${FOLDER}"
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
  DeleteRegKey HKLM "Software\Microsoft\Windows\CurrentVersion\Uninstall\Tessorin"
SectionEnd

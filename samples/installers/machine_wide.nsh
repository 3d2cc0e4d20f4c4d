; What both setup programs share: 64-bit, for all users, with a place in the list of installed programs.
Target amd64-unicode
Unicode true
ManifestSupportedOS all
RequestExecutionLevel admin
SetCompressor lzma
CRCCheck on
ShowInstDetails nevershow

!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall"

; ListProgram KEY DISPLAY_NAME VERSION PUBLISHER
!macro ListProgram key displayName version publisher
  WriteUninstaller "$INSTDIR\uninstall.exe"
  WriteRegStr HKLM "${UNINSTALL_KEY}\${key}" "DisplayName" "${displayName}"
  WriteRegStr HKLM "${UNINSTALL_KEY}\${key}" "DisplayVersion" "${version}"
  WriteRegStr HKLM "${UNINSTALL_KEY}\${key}" "Publisher" "${publisher}"
  WriteRegStr HKLM "${UNINSTALL_KEY}\${key}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKLM "${UNINSTALL_KEY}\${key}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${UNINSTALL_KEY}\${key}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKLM "${UNINSTALL_KEY}\${key}" "NoModify" 1
  WriteRegDWORD HKLM "${UNINSTALL_KEY}\${key}" "NoRepair" 1
!macroend

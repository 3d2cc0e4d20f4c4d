; Halvane Archive 3.0, of the maker's own family. Found by the value "Path" below its UpdateLocation key.
;   makensis -DPROGRAMS=folder-of-programs -DPAYLOAD=folder -DOUTPUT=setup.exe halvane_archive.nsi
!include machine_wide.nsh
Name "Halvane Archive 3"
OutFile "${OUTPUT}"
InstallDir "$PROGRAMFILES64\Halvane\Archive"

Function .onInit
  SetShellVarContext all
  SetRegView 64
FunctionEnd

Function un.onInit
  SetShellVarContext all
  SetRegView 64
FunctionEnd

Section
  SetOutPath "$INSTDIR"
  File "${PROGRAMS}\archive.exe"
  File "${PROGRAMS}\sync.exe"
  SetOutPath "$INSTDIR\templates"
  File "${PAYLOAD}\weekly.template"
  SetOutPath "$COMMONFILES64\Halvane\Shared"
  File "${PAYLOAD}\words.dat"

  SetOutPath "$INSTDIR"
  CreateDirectory "$SMPROGRAMS\Halvane"
  CreateShortcut "$SMPROGRAMS\Halvane\Halvane Archive.lnk" "$INSTDIR\archive.exe"

  WriteRegStr HKLM "Software\Halvane\Archive" "InstallDir" "$INSTDIR"
  WriteRegStr HKLM "Software\Halvane\Archive\UpdateLocation" "Path" "$INSTDIR"
  WriteRegStr HKLM "Software\Halvane\Shared" "Words" "$COMMONFILES64\Halvane\Shared\words.dat"
  WriteRegStr HKLM "Software\Halvane\Family" "Archive" "3.0"
  WriteRegDWORD HKLM "Software\Microsoft\Windows\CurrentVersion\SharedDLLs" "$COMMONFILES64\Halvane\Shared\words.dat" 1
  ExecWait `"$SYSDIR\sc.exe" create HalvaneArchiveSync binPath= "\"$INSTDIR\sync.exe\"" start= auto DisplayName= "Halvane Archive Sync"`
  !insertmacro ListProgram "Halvane Archive" "Halvane Archive 3" "3.0" "Halvane"
SectionEnd

; Leaves the shared folder and key, as the other products of the family may need them.
Section "Uninstall"
  ExecWait `"$SYSDIR\sc.exe" stop HalvaneArchiveSync`
  ExecWait `"$SYSDIR\sc.exe" delete HalvaneArchiveSync`
  ExecWait `"$INSTDIR\archive.exe" --close sync.exe`
  Delete "$SMPROGRAMS\Halvane\Halvane Archive.lnk"
  RMDir "$SMPROGRAMS\Halvane"
  RMDir /r "$INSTDIR"
  DeleteRegKey HKLM "Software\Halvane\Archive"
  DeleteRegValue HKLM "Software\Halvane\Family" "Archive"
  DeleteRegKey HKLM "${UNINSTALL_KEY}\Halvane Archive"
SectionEnd

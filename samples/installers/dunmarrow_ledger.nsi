; Dunmarrow Ledger 7, another maker's product. Found by the name that it shows in the list of programs.
;   makensis -DPROGRAMS=folder-of-programs -DPAYLOAD=folder -DOUTPUT=setup.exe dunmarrow_ledger.nsi
!include machine_wide.nsh
Name "Dunmarrow Ledger 7"
OutFile "${OUTPUT}"
InstallDir "$PROGRAMFILES64\Dunmarrow\Ledger 7"

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
  File "${PROGRAMS}\ledger.exe"
  SetOutPath "$INSTDIR\forms"
  File "${PAYLOAD}\invoice.txt"
  File "${PAYLOAD}\reminder.txt"
  ; With the context "all", this is the folder of application data for all users.
  SetOutPath "$APPDATA\Dunmarrow\Ledger"
  File /oname=last_form.txt "${PAYLOAD}\invoice.txt"

  SetOutPath "$INSTDIR"
  CreateDirectory "$SMPROGRAMS\Dunmarrow"
  CreateShortcut "$SMPROGRAMS\Dunmarrow\Dunmarrow Ledger.lnk" "$INSTDIR\ledger.exe"
  CreateShortcut "$DESKTOP\Dunmarrow Ledger.lnk" "$INSTDIR\ledger.exe"

  WriteRegStr HKLM "Software\Dunmarrow\Ledger\7" "Folder" "$INSTDIR"
  WriteRegStr HKLM "Software\Microsoft\Windows\CurrentVersion\Run" "Dunmarrow Ledger" '"$INSTDIR\ledger.exe" --tray'
  !insertmacro ListProgram "DunmarrowLedger7" "Dunmarrow Ledger 7" "7.2" "Dunmarrow Software"
SectionEnd

Section "Uninstall"
  Delete "$DESKTOP\Dunmarrow Ledger.lnk"
  Delete "$SMPROGRAMS\Dunmarrow\Dunmarrow Ledger.lnk"
  RMDir "$SMPROGRAMS\Dunmarrow"
  RMDir /r "$APPDATA\Dunmarrow\Ledger"
  RMDir "$APPDATA\Dunmarrow"
  RMDir /r "$INSTDIR"
  DeleteRegKey HKLM "Software\Dunmarrow\Ledger\7"
  DeleteRegValue HKLM "Software\Microsoft\Windows\CurrentVersion\Run" "Dunmarrow Ledger"
  DeleteRegKey HKLM "${UNINSTALL_KEY}\DunmarrowLedger7"
SectionEnd

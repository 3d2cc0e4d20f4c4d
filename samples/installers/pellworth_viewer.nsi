; Pellworth Viewer 12, another maker's product. It takes no place in the list of programs and brings no program to
; remove it, so that only its descriptor can find it.
;   makensis -DPROGRAMS=folder-of-programs -DPAYLOAD=folder -DOUTPUT=setup.exe pellworth_viewer.nsi
!include machine_wide.nsh
Name "Pellworth Viewer 12"
OutFile "${OUTPUT}"
InstallDir "$PROGRAMFILES64\Pellworth\Viewer"

!define RUN_KEY "Software\Microsoft\Windows\CurrentVersion\Run"
!define EXTENSION "Software\Classes\CLSID\{5B8C3A51-6E0A-4B0E-9A31-7C5D2E9F1B42}"

Function .onInit
  SetShellVarContext all
  SetRegView 64
FunctionEnd

Section
  SetOutPath "$INSTDIR"
  File "${PROGRAMS}\viewer.exe"
  File "${PROGRAMS}\viewershell.dll"
  SetOutPath "$APPDATA\Pellworth\Viewer"
  File /oname=thumbnails.dat "${PAYLOAD}\words.dat"
  SetOutPath "$SYSDIR\drivers"
  File /oname=pwfilter.sys "${PAYLOAD}\filter.sys"

  SetOutPath "$INSTDIR"
  CreateDirectory "$SMPROGRAMS\Pellworth"
  CreateShortcut "$SMPROGRAMS\Pellworth\Pellworth Viewer.lnk" "$INSTDIR\viewer.exe"

  ; All of them are started by the program only, when it needs them.
  ExecWait `"$SYSDIR\sc.exe" create PellworthFilter DisplayName= "Pellworth Filter" type= kernel start= demand binPath= "$SYSDIR\drivers\pwfilter.sys"`
  ExecWait `"$SYSDIR\sc.exe" create PellworthCapture DisplayName= "Pellworth Capture" type= kernel start= demand binPath= "$SYSDIR\drivers\pwfilter.sys"`
  ExecWait `"$SYSDIR\sc.exe" create PellworthUpdate DisplayName= "Pellworth Update" start= demand binPath= "\"$INSTDIR\viewer.exe\""`

  WriteRegStr HKLM "Software\Pellworth\Viewer\12" "Folder" "$INSTDIR"
  WriteRegStr HKLM "Software\Pellworth\Recent Pictures" "1" "C:\Pictures\harbour.png"
  WriteRegStr HKLM "${EXTENSION}" "" "Pellworth Thumbnail Provider"
  WriteRegStr HKLM "${EXTENSION}\InprocServer32" "" "$INSTDIR\viewershell.dll"
  WriteRegStr HKLM "${RUN_KEY}" "Pellworth Viewer" '"$INSTDIR\viewer.exe" --preload'
  WriteRegStr HKLM "${RUN_KEY}" "Pellworth Viewer Update" '"$INSTDIR\viewer.exe" --update'
SectionEnd

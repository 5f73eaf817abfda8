; ktmp4-VERSION-setup.exe, for Windows of 64 and of 32 bits. scripts/make_installer.sh says
;   VERSION  the product's, as in 1.2.3
;   STAGE    a folder with x64 and x86, each as the zip of that processor, and registry_memory.exe
;   OUT      the file to make
; On 64 bits the modules of 32 are installed as well, for players of 32. A processor that only imitates the other
; kinds gets those of 32 bits alone.
Unicode true
ManifestDPIAware true
RequestExecutionLevel admin
SetCompressor /SOLID lzma
!include LogicLib.nsh
!include FileFunc.nsh
!include x64.nsh
!include MUI2.nsh

Name "Ketral MP4"
OutFile "${OUT}"
BrandingText "Ketral MP4 ${VERSION}"
VIProductVersion "${VERSION}.0"
VIAddVersionKey ProductName "Ketral MP4"
VIAddVersionKey CompanyName "Ketral"
VIAddVersionKey FileDescription "Ketral MP4 setup"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey ProductVersion "${VERSION}"
VIAddVersionKey LegalCopyright ""

!define INSTALLED "Software\Microsoft\Windows\CurrentVersion\Uninstall\Ketral MP4"

; The icons that come by default bear the name of the maker of setups.
!define MUI_ICON "${NSISDIR}/Contrib/Graphics/Icons/orange-install.ico"
!define MUI_UNICON "${NSISDIR}/Contrib/Graphics/Icons/orange-uninstall.ico"
!define MUI_ABORTWARNING
!define MUI_COMPONENTSPAGE_NODESC
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE English

; What is registered, of every bitness. What was not built ends the making of the setup.
!macro ForEachModule DO
  !insertmacro ${DO} ktmp4source.ax
  !insertmacro ${DO} ktmp4decoder.ax
  !insertmacro ${DO} ktmp4captionps.dll
!macroend

Var Views     ; of the registry, as registry_memory takes them
Var Folder32  ; where modules of 32 bits lie below $INSTDIR
Var Problem   ; what went wrong first, for people

!macro Begin
  ${If} ${IsNativeAMD64}
    SetRegView 64
    StrCpy $Views "64 32"
    StrCpy $Folder32 "bin32"
  ${Else}
    SetRegView 32
    StrCpy $Views "32"
    StrCpy $Folder32 "bin"
  ${EndIf}
  UserInfo::GetAccountType
  Pop $0
  ${If} $0 != "Admin"
    MessageBox MB_OK|MB_ICONSTOP "Only an administrator can do this." /SD IDOK
    SetErrorLevel 2
    Quit
  ${EndIf}
!macroend

; A folder stays while any program has it as its current one, also one of ours that is just about to end.
!macro LeaveFolder
  SetOutPath "$TEMP"
!macroend

!macro SetProblem TEXT
  ${If} $Problem == ""
    StrCpy $Problem "${TEXT}"
  ${EndIf}
!macroend

; The page has room for one line, which says how things are now.
!macro GiveUp OUTCOME
  MessageBox MB_OK|MB_ICONSTOP "$Problem$\n$\n${OUTCOME}" /SD IDOK
  SetErrorLevel 2
  Abort "${OUTCOME}"
!macroend

; registry_memory.cpp says what the commands do.
!macro RegistryMemory COMMAND
  InitPluginsDir
  File "/oname=$PLUGINSDIR\registry_memory.exe" "${STAGE}/registry_memory.exe"
  nsExec::ExecToLog '"$PLUGINSDIR\registry_memory.exe" ${COMMAND} $Views'
  Pop $0
  ${If} $0 != 0
    !insertmacro SetProblem "The registry is not as it has to be: registry_memory ${COMMAND} ended with $0."
  ${EndIf}
!macroend

; Each bitness has a program of its own that registers; setup, of 32 bits, sees that of 64 under "Sysnative".
!macro Register SYSTEM FILE
  ${If} $Problem == ""
    DetailPrint "Register ${FILE}"
    ClearErrors
    ExecWait '"${SYSTEM}\regsvr32.exe" /s "${FILE}"' $0
    ${If} ${Errors}
      StrCpy $0 "no code: it does not start"
    ${EndIf}
    ${If} $0 != 0
      StrCpy $Problem "${FILE} could not be registered. ${SYSTEM}\regsvr32.exe ended with $0."
    ${EndIf}
  ${EndIf}
!macroend
!macro Register64 FILE
  !insertmacro Register "$WINDIR\Sysnative" "$INSTDIR\bin\${FILE}"
!macroend
!macro Register32 FILE
  !insertmacro Register "$SYSDIR" "$INSTDIR\$Folder32\${FILE}"
!macroend
!macro Unregister FILE
  ${If} ${IsNativeAMD64}
    ExecWait '"$WINDIR\Sysnative\regsvr32.exe" /s /u "$INSTDIR\bin\${FILE}"'
  ${EndIf}
  ExecWait '"$SYSDIR\regsvr32.exe" /s /u "$INSTDIR\$Folder32\${FILE}"'
!macroend

!macro Lay64 FILE
  File "${STAGE}/x64/bin/${FILE}"
!macroend
!macro Lay32 FILE
  File "${STAGE}/x86/bin/${FILE}"
!macroend

; A module that a program has loaded, and a program that runs, can not be written.
!macro RequireFree FILE
  ${If} ${FileExists} "${FILE}"
    ClearErrors
    FileOpen $0 "${FILE}" a
    ${If} ${Errors}
      !insertmacro SetProblem "${FILE} is in use. Close all players, then try again."
    ${Else}
      FileClose $0
    ${EndIf}
  ${EndIf}
!macroend
!macro RequireFreeModule FILE
  !insertmacro RequireFree "$INSTDIR\bin\${FILE}"
  !insertmacro RequireFree "$INSTDIR\bin32\${FILE}"
!macroend

; Ours alone: the folder was chosen by a person, who may have put more into it.
!macro DeleteModule FILE
  Delete "$INSTDIR\bin\${FILE}"
  Delete "$INSTDIR\bin32\${FILE}"
!macroend
!macro DeleteFiles
  !insertmacro ForEachModule DeleteModule
  Delete "$INSTDIR\bin\ktmp4.exe"
  Delete "$INSTDIR\bin\watch_texts.exe"
  Delete "$INSTDIR\bin\play_window.exe"
  Delete "$INSTDIR\example\watch_texts.cpp"
  Delete "$INSTDIR\example\play_window.cpp"
  Delete "$INSTDIR\example\graph_support.h"
  Delete "$INSTDIR\include\ktmp4\ktmp4source.h"
  Delete "$INSTDIR\include\ktmp4\ktmp4source.idl"
  Delete "$INSTDIR\README.txt"
  Delete "$INSTDIR\LIMITS.txt"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR\bin"
  RMDir "$INSTDIR\bin32"
  RMDir "$INSTDIR\example"
  RMDir "$INSTDIR\include\ktmp4"
  RMDir "$INSTDIR\include"
  RMDir "$INSTDIR"
  DeleteRegKey HKLM "${INSTALLED}"
!macroend

Function .onInit
  !insertmacro Begin
  ${If} $INSTDIR == ""
    ReadRegStr $INSTDIR HKLM "${INSTALLED}" "InstallLocation"
  ${EndIf}
  ${If} $INSTDIR == ""
    StrCpy $INSTDIR "$PROGRAMFILES32\Ketral MP4"
    ${If} ${IsNativeAMD64}
      StrCpy $INSTDIR "$PROGRAMFILES64\Ketral MP4"
    ${EndIf}
  ${EndIf}
FunctionEnd

; An installed version goes by its own uninstaller, which knows its files; a copy, since it deletes itself.
Function UninstallOther
  ReadRegStr $1 HKLM "${INSTALLED}" "InstallLocation"
  ${If} $1 == ""
  ${OrIfNot} ${FileExists} "$1\uninstall.exe"
    Return
  ${EndIf}
  InitPluginsDir
  CopyFiles /SILENT "$1\uninstall.exe" "$PLUGINSDIR\uninstall.exe"
  ClearErrors
  ExecWait '"$PLUGINSDIR\uninstall.exe" /S _?=$1' $0
  ${If} ${Errors}
  ${OrIf} $0 != 0
    StrCpy $Problem "$1\uninstall.exe ended with $0. Close all players, then try again."
    !insertmacro GiveUp "The version that was there is still installed."
  ${EndIf}
FunctionEnd

Function GiveUpInstalling
  !insertmacro ForEachModule Unregister
  !insertmacro RegistryMemory restore
  !insertmacro DeleteFiles
  !insertmacro GiveUp "Nothing is installed now."
FunctionEnd

Section "Filters and program"
  SectionIn RO
  Call UninstallOther
  !insertmacro RegistryMemory remember
  SetOverwrite try
  ClearErrors
  SetOutPath "$INSTDIR\bin"
  ${If} ${IsNativeAMD64}
    File "${STAGE}/x64/bin/ktmp4.exe"
    !insertmacro ForEachModule Lay64
  ${Else}
    File "${STAGE}/x86/bin/ktmp4.exe"
  ${EndIf}
  SetOutPath "$INSTDIR\$Folder32"
  !insertmacro ForEachModule Lay32
  SetOutPath "$INSTDIR"
  File "${STAGE}/x64/README.txt"
  File "${STAGE}/x64/LIMITS.txt"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  ${If} ${Errors}
    !insertmacro SetProblem "$INSTDIR could not be written."
  ${EndIf}
  !insertmacro LeaveFolder
  ${If} ${IsNativeAMD64}
    !insertmacro ForEachModule Register64
  ${EndIf}
  !insertmacro ForEachModule Register32
  !insertmacro RegistryMemory own
  ${If} $Problem != ""
    Call GiveUpInstalling
  ${EndIf}
SectionEnd

Section "Headers and examples"
  SetOutPath "$INSTDIR\include\ktmp4"
  File "${STAGE}/x64/include/ktmp4/ktmp4source.h"
  File "${STAGE}/x64/include/ktmp4/ktmp4source.idl"
  SetOutPath "$INSTDIR\example"
  File "${STAGE}/x64/example/watch_texts.cpp"
  File "${STAGE}/x64/example/play_window.cpp"
  File "${STAGE}/x64/example/graph_support.h"
  SetOutPath "$INSTDIR\bin"
  ${If} ${IsNativeAMD64}
    File "${STAGE}/x64/bin/watch_texts.exe"
    File "${STAGE}/x64/bin/play_window.exe"
  ${Else}
    File "${STAGE}/x86/bin/watch_texts.exe"
    File "${STAGE}/x86/bin/play_window.exe"
  ${EndIf}
SectionEnd

Section "-Installed programs"
  WriteRegStr HKLM "${INSTALLED}" "DisplayName" "Ketral MP4"
  WriteRegStr HKLM "${INSTALLED}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKLM "${INSTALLED}" "Publisher" "Ketral"
  WriteRegStr HKLM "${INSTALLED}" "DisplayIcon" "$INSTDIR\uninstall.exe"
  WriteRegStr HKLM "${INSTALLED}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKLM "${INSTALLED}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${INSTALLED}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKLM "${INSTALLED}" "NoModify" 1
  WriteRegDWORD HKLM "${INSTALLED}" "NoRepair" 1
  ; In KB; nearly all of it.
  ${GetSize} "$INSTDIR\bin" "/S=0K" $0 $2 $2
  StrCpy $1 0
  ${If} ${IsNativeAMD64}
    ${GetSize} "$INSTDIR\bin32" "/S=0K" $1 $2 $2
  ${EndIf}
  IntOp $0 $0 + $1
  WriteRegDWORD HKLM "${INSTALLED}" "EstimatedSize" $0
SectionEnd

Function un.onInit
  !insertmacro Begin
FunctionEnd

Section "Uninstall"
  !insertmacro LeaveFolder
  ; Nothing is touched unless all of it can go.
  !insertmacro RequireFree "$INSTDIR\bin\ktmp4.exe"
  !insertmacro ForEachModule RequireFreeModule
  ${If} $Problem == ""
    !insertmacro RegistryMemory remember
  ${EndIf}
  ${If} $Problem == ""
    !insertmacro ForEachModule Unregister
    !insertmacro RegistryMemory restore
  ${EndIf}
  ${If} $Problem != ""
    !insertmacro GiveUp "Ketral MP4 is still installed."
  ${EndIf}
  !insertmacro DeleteFiles
SectionEnd

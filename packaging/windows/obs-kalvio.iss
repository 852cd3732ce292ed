; SPDX-License-Identifier: GPL-2.0-or-later
;
; The installer, for Inno Setup 6:
;
;     iscc /DVersion=1.0.12 /DTree=release packaging\windows\obs-kalvio.iss
;
; Tree is what cmake --install laid out, from the root of the checkout, where the setup file goes as well. OBS looks for
; plug-ins of all users below ProgramData, wherever it is installed.

#ifndef Version
  #error Say /DVersion=...
#endif
#ifndef Tree
  #error Say /DTree=..., the folder with obs-kalvio in it
#endif

[Setup]
SourceDir=..\..
AppId={{6C0B6E3B-52C7-4A60-9E37-7D0C3C4A8F11}
AppName=Kalvio for OBS Studio
AppVersion={#Version}
AppVerName=Kalvio for OBS Studio {#Version}
DefaultDirName={commonappdata}\obs-studio\plugins\obs-kalvio
DisableDirPage=yes
DisableProgramGroupPage=yes
PrivilegesRequired=admin
ArchitecturesAllowed=x64compatible
ArchitecturesInstallIn64BitMode=x64compatible
MinVersion=10.0
; OBS keeps the module open: the user is asked to close it, never the stream without being asked.
CloseApplications=yes
CloseApplicationsFilter=obs64.exe
RestartApplications=no
LicenseFile={#Tree}\obs-kalvio\licenses\obs-kalvio.txt
OutputBaseFilename=kalvio-obs-windows-{#Version}-setup
OutputDir=.
Compression=lzma2
SolidCompression=yes
WizardStyle=modern

[Languages]
Name: "en"; MessagesFile: "compiler:Default.isl"
Name: "de"; MessagesFile: "compiler:Languages\German.isl"
Name: "es"; MessagesFile: "compiler:Languages\Spanish.isl"
Name: "ja"; MessagesFile: "compiler:Languages\Japanese.isl"
Name: "ko"; MessagesFile: "compiler:Languages\Korean.isl"
Name: "ptbr"; MessagesFile: "compiler:Languages\BrazilianPortuguese.isl"

; Files of an older version that this one no longer has go first; the user's settings lie elsewhere.
[InstallDelete]
Type: filesandordirs; Name: "{app}\bin"
Type: filesandordirs; Name: "{app}\data"
Type: filesandordirs; Name: "{app}\licenses"

[Files]
Source: "{#Tree}\obs-kalvio\*"; DestDir: "{app}"; Flags: recursesubdirs ignoreversion

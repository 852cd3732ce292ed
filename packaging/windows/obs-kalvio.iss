; SPDX-License-Identifier: GPL-2.0-or-later
;
; The installer, for Inno Setup 6.3 or newer:
;
;     iscc /DVersion=1.0.12 /DTree=release packaging\windows\obs-kalvio.iss
;
; Tree is what cmake --install laid out, from the root of the checkout, where the setup file goes as well. With
; /DSigned and a sign tool called "kalvio" (/Skalvio=...) setup and uninstaller are signed.
;
; OBS looks for modules below ProgramData alone, whoever installed them and wherever OBS is. As an administrator, setup
; installs there for all users of the machine; without (a choice at its start, or /CURRENTUSER) into the same folder, as far
; as Windows lets the user write there, with an entry in this user's list of programs.

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
VersionInfoVersion={#Version}
DefaultDirName={commonappdata}\obs-studio\plugins\obs-kalvio
DisableDirPage=yes
UsePreviousAppDir=no
DisableProgramGroupPage=yes
PrivilegesRequired=admin
PrivilegesRequiredOverridesAllowed=commandline dialog
UsedUserAreasWarning=no
ArchitecturesAllowed=x64compatible
ArchitecturesInstallIn64BitMode=x64compatible
MinVersion=10.0
; OBS makes this mutex at its start. While it exists, setup and uninstaller ask for OBS to be closed, and do nothing
; before; a silent one ends. Nobody closes OBS for the user: it may be on air.
AppMutex=OBSStudioCore
CloseApplications=no
RestartApplications=no
LicenseFile={#Tree}\obs-kalvio\licenses\obs-kalvio.txt
OutputBaseFilename=kalvio-obs-windows-{#Version}-setup
OutputDir=.
Compression=lzma2
SolidCompression=yes
WizardStyle=modern
#ifdef Signed
SignTool=kalvio
SignedUninstaller=yes
#endif

[Languages]
Name: "en"; MessagesFile: "compiler:Default.isl"
Name: "de"; MessagesFile: "compiler:Languages\German.isl"
Name: "es"; MessagesFile: "compiler:Languages\Spanish.isl"
Name: "ja"; MessagesFile: "compiler:Languages\Japanese.isl"
Name: "ko"; MessagesFile: "compiler:Languages\Korean.isl"
Name: "ptbr"; MessagesFile: "compiler:Languages\BrazilianPortuguese.isl"

[CustomMessages]
en.FolderInUse=The folder %1 is in use, or you may not change it. Close OBS Studio, also that of other users of this machine, or run this program as an administrator. Nothing has been changed.
de.FolderInUse=Der Ordner %1 wird benutzt, oder Sie dürfen ihn nicht ändern. Schließen Sie OBS Studio, auch das anderer Benutzer dieses Computers, oder starten Sie dieses Programm als Administrator. Es wurde nichts geändert.
es.FolderInUse=La carpeta %1 está en uso, o no tiene permiso para modificarla. Cierre OBS Studio, también el de otros usuarios de este equipo, o ejecute este programa como administrador. No se ha cambiado nada.
ja.FolderInUse=フォルダー %1 は使用中か、変更する権限がありません。OBS Studio を(このコンピューターの他のユーザーのものも)終了するか、管理者としてこのプログラムを実行してください。何も変更されていません。
ko.FolderInUse=%1 폴더가 사용 중이거나 변경할 권한이 없습니다. 이 컴퓨터의 다른 사용자 것을 포함하여 OBS Studio를 닫거나 관리자 권한으로 이 프로그램을 실행하세요. 변경된 것은 없습니다.
ptbr.FolderInUse=A pasta %1 está em uso, ou você não tem permissão para alterá-la. Feche o OBS Studio, também o de outros usuários deste computador, ou execute este programa como administrador. Nada foi alterado.

[Files]
Source: "{#Tree}\obs-kalvio\*"; DestDir: "{app}"; Flags: recursesubdirs ignoreversion

; The user's settings lie elsewhere. What is left in these folders was not there before the plug-in.
[UninstallDelete]
Type: filesandordirs; Name: "{app}\bin"
Type: filesandordirs; Name: "{app}\data"
Type: filesandordirs; Name: "{app}\licenses"
Type: filesandordirs; Name: "{app}\previous"
Type: dirifempty; Name: "{app}"

[Code]
// The installed version is moved aside before the new one is copied, and deleted after: of an update either all of the new
// version is there, or all of the old one. A library that is loaded cannot be opened for writing, and its folder not be
// moved.

const
  FolderCount = 3;

var
  Target: String;
  Folders: array[1..FolderCount] of String;
  Moved: Integer; // how many of them lie in "previous"
  Complete: Boolean;

procedure SetFolders;
begin
  Target := ExpandConstant('{app}');
  Folders[1] := 'bin';
  Folders[2] := 'data';
  Folders[3] := 'licenses';
end;

function CanBeWritten(const Name: String): Boolean;
var
  Stream: TFileStream;
begin
  Result := True;
  try
    Stream := TFileStream.Create(Name, fmOpenReadWrite or fmShareExclusive);
    Stream.Free;
  except
    Result := False;
  end;
end;

function LibrariesCanBeWritten: Boolean;
var
  Found: TFindRec;
  Folder: String;
begin
  Result := True;
  Folder := Target + '\bin\64bit\';
  if not FindFirst(Folder + '*.dll', Found) then
    exit;
  try
    repeat
      Result := Result and CanBeWritten(Folder + Found.Name);
    until not FindNext(Found);
  finally
    FindClose(Found);
  end;
end;

procedure MoveBack;
begin
  while Moved > 0 do begin
    DelTree(Target + '\' + Folders[Moved], True, True, True);
    if DirExists(Target + '\previous\' + Folders[Moved]) then
      RenameFile(Target + '\previous\' + Folders[Moved], Target + '\' + Folders[Moved]);
    Moved := Moved - 1;
  end;
  RemoveDir(Target + '\previous');
end;

function MoveAside: Boolean;
begin
  DelTree(Target + '\previous', True, True, True); // of a setup that did not come to its end
  Result := ForceDirectories(Target + '\previous');
  while Result and (Moved < FolderCount) do begin
    if DirExists(Target + '\' + Folders[Moved + 1]) then
      Result := RenameFile(Target + '\' + Folders[Moved + 1], Target + '\previous\' + Folders[Moved + 1]);
    if Result then
      Moved := Moved + 1;
  end;
  if not Result then
    MoveBack;
end;

function PrepareToInstall(var NeedsRestart: Boolean): String;
begin
  Result := '';
  SetFolders;
  if not LibrariesCanBeWritten or not MoveAside then
    Result := FmtMessage(CustomMessage('FolderInUse'), [Target]);
end;

procedure CurStepChanged(CurStep: TSetupStep);
begin
  if CurStep = ssPostInstall then begin
    DelTree(Target + '\previous', True, True, True);
    Complete := True;
  end;
end;

procedure DeinitializeSetup;
begin
  if not Complete then
    MoveBack;
end;

function InitializeUninstall: Boolean;
begin
  SetFolders;
  Result := LibrariesCanBeWritten;
  if not Result then
    SuppressibleMsgBox(FmtMessage(CustomMessage('FolderInUse'), [Target]), mbError, MB_OK, IDOK);
end;

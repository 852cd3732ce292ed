# SPDX-License-Identifier: GPL-2.0-or-later
#
# packaging/windows/check_setup.ps1 -Setup FILE -Tree FOLDER
#
# Installs and removes with the setup program, silently, as an administrator. On a machine without the plug-in only: it
# leaves none behind. Tree is what the setup program was made from.

param([Parameter(Mandatory)] [string] $Setup, [Parameter(Mandatory)] [string] $Tree)
$ErrorActionPreference = 'Stop'

$target = Join-Path $env:ProgramData 'obs-studio/plugins/obs-kalvio'
if (Test-Path $target) { throw "$target is there already" }

# Runs a program silently; answers its exit code.
function Invoke-Silently([string] $Program) {
	$process = Start-Process $Program '/VERYSILENT', '/SUPPRESSMSGBOXES', '/NORESTART', '/ALLUSERS' -PassThru
	if (-not $process.WaitForExit(180000)) { throw "$Program does not end" }
	return $process.ExitCode
}

function Assert-Code([string] $What, [bool] $Succeeds, [int] $Code) {
	if (($Code -eq 0) -ne $Succeeds) { throw "$What ended with $Code" }
	Write-Output "${What}: exit code $Code"
}

function Get-Names([string] $Folder) {
	return Get-ChildItem $Folder -Recurse -File | ForEach-Object { [IO.Path]::GetRelativePath($Folder, $_.FullName) } |
		Where-Object { $_ -notmatch '^unins' } | Sort-Object
}

function Assert-Installed([string] $What) {
	$difference = Compare-Object @(Get-Names (Resolve-Path (Join-Path $Tree 'obs-kalvio')).Path) @(Get-Names $target)
	if ($difference) { throw "${What}: $($difference | Out-String)" }
}

Assert-Code 'Installing' $true (Invoke-Silently $Setup)
Assert-Installed 'Installed'
Set-Content (Join-Path $target 'data/of_an_older_version.kld') 'x'
Assert-Code 'Updating' $true (Invoke-Silently $Setup)
Assert-Installed 'Updated'

# OBS's mutex, and a library that is in use: nothing may change.
$mutex = [Threading.Mutex]::new($false, 'OBSStudioCore')
Assert-Code 'Updating while OBS runs' $false (Invoke-Silently $Setup)
Assert-Code 'Removing while OBS runs' $false (Invoke-Silently (Join-Path $target 'unins000.exe'))
$mutex.Dispose()
$library = [IO.File]::Open((Join-Path $target 'bin/64bit/kalvio.dll'), 'Open', 'Read', 'Read')
Assert-Code 'Updating while a library is in use' $false (Invoke-Silently $Setup)
$library.Dispose()
Assert-Installed 'After what was refused'

Assert-Code 'Removing' $true (Invoke-Silently (Join-Path $target 'unins000.exe'))
# The uninstaller ends before its copy that removes the uninstaller itself.
for ($try = 0; (Test-Path $target) -and $try -lt 60; $try++) { Start-Sleep -Milliseconds 500 }
if (Test-Path $target) { throw "Left behind: $(Get-ChildItem $target -Recurse | Out-String)" }
Write-Output 'Nothing is left behind'

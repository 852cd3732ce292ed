# SPDX-License-Identifier: GPL-2.0-or-later
#
# packaging/windows/check.ps1 -Tree FOLDER
#
# Whether what cmake --install laid out in FOLDER is what users are to get: its files are those of the list, both libraries
# say the version, export what they should and ask for nothing that is not there, and the module loads beside OBS's own
# libraries, which packaging/windows/dependencies.ps1 keeps in .deps/runtime.

param([Parameter(Mandatory)] [string] $Tree)
$ErrorActionPreference = 'Stop'

$root = (Resolve-Path "$PSScriptRoot/../..").Path
$deps = Join-Path $root '.deps'
$folder = (Resolve-Path (Join-Path $Tree 'obs-kalvio')).Path
$binaries = Join-Path $folder 'bin/64bit'

function Assert-Same([string] $What, [string[]] $Expected, [string[]] $Found) {
	$difference = Compare-Object @($Expected | Sort-Object) @($Found | Sort-Object)
	if ($difference) { throw "${What}: $($difference | Out-String)" }
	Write-Output "${What}: $($Found.Count) as expected"
}

function Get-Dumpbin {
	$vswhere = Join-Path ${env:ProgramFiles(x86)} 'Microsoft Visual Studio/Installer/vswhere.exe'
	$found = & $vswhere -latest -find 'VC/Tools/MSVC/*/bin/Hostx64/x64/dumpbin.exe' | Select-Object -Last 1
	if (-not $found) { throw 'Visual Studio has no dumpbin.exe' }
	return $found
}

# Lines of dumpbin's output that a pattern matches, as its first group.
function Get-Matches([string] $Option, [string] $File, [string] $Pattern) {
	$lines = & $dumpbin /nologo $Option (Join-Path $binaries $File)
	if ($LASTEXITCODE -ne 0) { throw "dumpbin $Option $File failed" }
	return @($lines | Select-String -CaseSensitive $Pattern | ForEach-Object { $_.Matches[0].Groups[1].Value })
}

function Test-Files {
	$expected = Get-Content (Join-Path $root 'tests/packaging/files_windows.txt')
	$found = Get-ChildItem $folder -Recurse -File | ForEach-Object {
		'obs-kalvio/' + [IO.Path]::GetRelativePath($folder, $_.FullName).Replace('\', '/')
	}
	Assert-Same 'Files' $expected $found
}

function Test-Versions {
	$project = Select-String -Path (Join-Path $root 'CMakeLists.txt') -Pattern 'project\(obs-kalvio VERSION ([0-9.]+)'
	$version = $project.Matches[0].Groups[1].Value
	foreach ($file in 'kalvio.dll', 'obs-kalvio.dll') {
		$stated = (Get-Item (Join-Path $binaries $file)).VersionInfo.ProductVersion
		if ($stated -ne $version) { throw "$file says that it is '$stated', not $version" }
	}
	Write-Output "Version: $version"
}

function Test-Exports {
	$row = '^\s+\d+\s+[0-9A-F]+\s+[0-9A-F]{8}\s+(\w+)'
	$definition = Get-Content (Join-Path $root 'src/module/obs-kalvio.def')
	$expected = $definition | Select-String '^\t(\w+)' | ForEach-Object { $_.Matches[0].Groups[1].Value }
	Assert-Same 'Exports of the module' $expected (Get-Matches /exports obs-kalvio.dll $row)
	$header = Get-Content (Join-Path $root 'engine/include/kalvio_engine.h') -Raw
	$calls = [regex]::Matches($header, 'KL_API[^;(]*\b(kl_\w+)\s*\(') | ForEach-Object { $_.Groups[1].Value }
	Assert-Same 'Exports of the engine' $calls (Get-Matches /exports kalvio.dll $row)
}

# Windows's own, Visual C++'s runtime, and for the module what OBS brings.
function Test-Imports {
	$system = '^(kernel32|user32|shell32|advapi32|ole32|winhttp|vcruntime140(_1)?|msvcp140(_\w+)?|api-ms-win-crt-.*)\.dll$'
	$row = '^\s{4}(\S+\.dll)$'
	$others = Get-Matches /dependents kalvio.dll $row | Where-Object { $_ -notmatch $system }
	if ($others) { throw "kalvio.dll asks for $others" }
	$others = Get-Matches /dependents obs-kalvio.dll $row | Where-Object { $_ -notmatch $system }
	Assert-Same 'Libraries of the module' @(
		'kalvio.dll', 'obs.dll', 'obs-frontend-api.dll', 'Qt6Core.dll', 'Qt6Gui.dll', 'Qt6Widgets.dll'
	) $others
}

# As OBS does it: by the full path, with the module's own folder first in the search. That fails when a single function
# that the module asks for is missing.
function Test-Loading {
	Add-Type -Namespace Kalvio -Name Native -MemberDefinition @'
[DllImport("kernel32", SetLastError = true, CharSet = CharSet.Unicode)]
public static extern System.IntPtr LoadLibraryExW(string file, System.IntPtr reserved, uint flags);
[DllImport("kernel32", SetLastError = true, CharSet = CharSet.Ansi)]
public static extern System.IntPtr GetProcAddress(System.IntPtr module, string name);
public delegate uint Version();
'@
	$env:PATH = "$(Join-Path $deps 'runtime');$(Join-Path $deps 'bin');$env:PATH"
	$module = [Kalvio.Native]::LoadLibraryExW((Join-Path $binaries 'obs-kalvio.dll'), [IntPtr]::Zero, 8)
	if ($module -eq [IntPtr]::Zero) {
		throw "The module does not load: error $([Runtime.InteropServices.Marshal]::GetLastWin32Error())"
	}
	$address = [Kalvio.Native]::GetProcAddress($module, 'obs_module_ver')
	$call = [Runtime.InteropServices.Marshal]::GetDelegateForFunctionPointer($address, ([type] 'Kalvio.Native+Version'))
	$interface = '{0:X8}' -f $call.Invoke()
	if ($interface -ne '1F000003') { throw "The module says that it is made for the interface $interface" }
	Write-Output "Loaded, for the interface $interface"
}

$dumpbin = Get-Dumpbin
Test-Files
Test-Versions
Test-Exports
Test-Imports
Test-Loading

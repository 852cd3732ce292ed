# SPDX-License-Identifier: GPL-2.0-or-later
#
# packaging/windows/dependencies.ps1
#
# Fetches what buildspec.json pins into .deps and builds libobs and the front-end API from OBS's sources, just far enough
# to be linked. Archives are checked against their SHA-256. OBS's sources are taken by their tag: checked are the commit,
# where buildspec.json has one, the version that the sources state, and the sums of the same archives that OBS's own
# buildspec.json states. Without a commit the one that was found is printed, to be entered.
#
# A run after one that came to its end does nothing, until buildspec.json or this script changes.

$ErrorActionPreference = 'Stop'
$ProgressPreference = 'SilentlyContinue'

$root = (Resolve-Path "$PSScriptRoot/../..").Path
$deps = Join-Path $root '.deps'
$specFile = Join-Path $root 'buildspec.json'
$spec = Get-Content $specFile -Raw | ConvertFrom-Json

function Assert-Success([string] $What) {
	if ($LASTEXITCODE -ne 0) { throw "$What failed with exit code $LASTEXITCODE" }
}

# What the finished folder was made from.
function Get-Stamp {
	return (($specFile, $PSCommandPath | ForEach-Object { (Get-FileHash -Algorithm SHA256 $_).Hash }) -join ' ')
}

# Downloads one archive, checks it and unpacks it over .deps: the prebuilt archives are prefixes of their own, and all of
# them become one prefix.
function Install-Archive([string] $Name) {
	$dependency = $spec.dependencies.$Name
	$archive = Join-Path $deps "$Name-$($dependency.version).zip"
	Invoke-WebRequest -Uri $dependency.url -OutFile $archive
	$sum = (Get-FileHash -Algorithm SHA256 $archive).Hash.ToLowerInvariant()
	if ($sum -ne $dependency.sha256) {
		throw "$($dependency.url) has the SHA-256 $sum; buildspec.json says '$($dependency.sha256)'"
	}
	Expand-Archive -Force $archive $deps
	Remove-Item $archive
}

# The version of the plug-in interface, which modules are compiled against.
function Get-InterfaceVersion([string] $Sources) {
	$header = Get-Content (Join-Path $Sources 'libobs/obs-config.h') -Raw
	$numbers = 'MAJOR', 'MINOR', 'PATCH' | ForEach-Object {
		[regex]::Match($header, "#define LIBOBS_API_${_}_VER (\d+)").Groups[1].Value
	}
	return $numbers -join '.'
}

function Assert-Sources([string] $Sources) {
	$obs = $spec.dependencies.'obs-studio'
	$commit = git -C $Sources rev-parse HEAD
	Assert-Success 'Asking for the commit of the OBS sources'
	if ($obs.commit -and $commit -ne $obs.commit) {
		throw "The tag $($obs.version) of OBS is the commit $commit; buildspec.json says $($obs.commit)"
	}
	if (-not $obs.commit) {
		Write-Warning "buildspec.json pins no commit of OBS $($obs.version). Enter this one: $commit"
	}
	$stated = Get-InterfaceVersion $Sources
	if ($stated -ne $obs.version) { throw "The sources of OBS $($obs.version) say that they are $stated" }
	$theirs = (Get-Content (Join-Path $Sources 'buildspec.json') -Raw | ConvertFrom-Json).dependencies
	foreach ($pair in @(('prebuilt', 'obs-deps'), ('qt6', 'qt6'))) {
		$sum = $theirs.($pair[0]).hashes.'windows-x64'
		if ($sum -ne $spec.dependencies.($pair[1]).sha256) {
			throw "OBS $($obs.version) is built with '$sum' as its $($pair[0]); buildspec.json pins another one"
		}
	}
}

function Get-Sources([string] $Folder) {
	$obs = $spec.dependencies.'obs-studio'
	git clone --quiet --depth 1 --branch $obs.version -c advice.detachedHead=false $obs.repository $Folder
	Assert-Success 'Fetching the sources of OBS'
	Assert-Sources $Folder
}

# The libraries that the module is loaded beside, to be tried.
function Copy-Runtime([string] $Build) {
	$runtime = New-Item -ItemType Directory (Join-Path $deps 'runtime')
	foreach ($name in 'obs', 'obs-frontend-api', 'w32-pthreads') {
		$found = Get-ChildItem $Build -Recurse -Filter "$name.dll" | Select-Object -First 1
		if (-not $found) { throw "OBS's build made no $name.dll" }
		Copy-Item $found.FullName $runtime
	}
}

function Install-Obs([string] $Sources, [string] $Build) {
	$options = @(
		'-G', 'Visual Studio 17 2022', '-A', 'x64,version=10.0.22621', "-DCMAKE_PREFIX_PATH=$deps", '-DENABLE_PLUGINS=OFF'
		'-DENABLE_FRONTEND=OFF', '-DENABLE_UI=OFF' # the names of one switch in OBS 31 and before
		'-DENABLE_SCRIPTING=OFF', '-DOBS_CMAKE_VERSION=3.0.0'
		"-DOBS_VERSION_OVERRIDE=$($spec.dependencies.'obs-studio'.version)"
	)
	cmake -S $Sources -B $Build @options
	Assert-Success 'Configuring OBS'
	cmake --build $Build --config Release --target obs-frontend-api --parallel
	Assert-Success 'Building libobs'
	cmake --install $Build --config Release --component Development --prefix $deps
	Assert-Success 'Installing libobs'
	foreach ($package in 'libobs', 'obs-frontend-api') {
		$found = Get-ChildItem $deps -Recurse -Filter "${package}Config.cmake"
		if (-not $found) { throw "OBS installed no CMake package $package below $deps" }
		Write-Output "$package`: $($found[0].FullName)"
	}
	Copy-Runtime $Build
}

$stampFile = Join-Path $deps '.complete'
if ((Test-Path $stampFile) -and (Get-Content $stampFile -Raw).Trim() -eq (Get-Stamp)) {
	Write-Output "$deps is complete"
	return
}
if (Test-Path $deps) { Remove-Item -Recurse -Force $deps }
New-Item -ItemType Directory $deps | Out-Null
foreach ($name in 'obs-deps', 'qt6') { Install-Archive $name }
$sources = Join-Path $deps 'obs-sources'
$build = Join-Path $deps 'obs-build'
Get-Sources $sources
Install-Obs $sources $build
Remove-Item -Recurse -Force $sources, $build
Set-Content $stampFile (Get-Stamp)

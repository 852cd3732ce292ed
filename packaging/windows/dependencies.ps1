# SPDX-License-Identifier: GPL-2.0-or-later
#
# packaging/windows/dependencies.ps1
#
# Fetches what buildspec.json pins into .deps and builds libobs and the front-end API from OBS's sources, just far enough
# to be linked. Archives are checked against their SHA-256; one that has none yet is refused, and its sum is printed so
# that it can be entered. A second run does only what is missing.

$ErrorActionPreference = 'Stop'
$ProgressPreference = 'SilentlyContinue'

$root = (Resolve-Path "$PSScriptRoot/../..").Path
$deps = Join-Path $root '.deps'
$spec = Get-Content (Join-Path $root 'buildspec.json') -Raw | ConvertFrom-Json
New-Item -ItemType Directory -Force $deps | Out-Null

function Assert-Success([string] $What) {
	if ($LASTEXITCODE -ne 0) { throw "$What failed with exit code $LASTEXITCODE" }
}

# Downloads one dependency, checks it and unpacks it; answers the folder.
function Get-Dependency([string] $Name) {
	$dependency = $spec.dependencies.$Name
	$folder = Join-Path $deps "$Name-$($dependency.version)"
	if (Test-Path $folder) { return $folder }
	$archive = "$folder.zip"
	Invoke-WebRequest -Uri $dependency.url -OutFile $archive
	$sum = (Get-FileHash -Algorithm SHA256 $archive).Hash.ToLowerInvariant()
	if ($sum -ne $dependency.sha256) {
		Remove-Item $archive
		throw "$($dependency.url) has the SHA-256 $sum; buildspec.json says '$($dependency.sha256)'"
	}
	Expand-Archive $archive "$folder.part"
	Remove-Item $archive
	Move-Item "$folder.part" $folder
	return $folder
}

# The prebuilt archives are prefixes of their own: all of them become one prefix.
foreach ($name in 'obs-deps', 'qt6') {
	Copy-Item -Recurse -Force (Join-Path (Get-Dependency $name) '*') $deps
}

$sources = Join-Path (Get-Dependency 'obs-studio') "obs-studio-$($spec.dependencies.'obs-studio'.version)"
$build = Join-Path $deps 'obs-build'
if (-not (Test-Path (Join-Path $deps 'cmake/obs-frontend-api'))) {
	cmake -S $sources -B $build -G 'Visual Studio 17 2022' -A 'x64,version=10.0.22621' `
		"-DCMAKE_PREFIX_PATH=$deps" -DENABLE_PLUGINS=OFF -DENABLE_FRONTEND=OFF -DENABLE_UI=OFF -DENABLE_SCRIPTING=OFF `
		"-DOBS_CMAKE_VERSION=3.0.0" "-DOBS_VERSION_OVERRIDE=$($spec.dependencies.'obs-studio'.version)"
	Assert-Success 'Configuring OBS'
	cmake --build $build --config Release --target obs-frontend-api --parallel
	Assert-Success 'Building libobs'
	cmake --install $build --config Release --component Development --prefix $deps
	Assert-Success 'Installing libobs'
}

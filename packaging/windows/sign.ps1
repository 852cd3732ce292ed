# SPDX-License-Identifier: GPL-2.0-or-later
#
# packaging/windows/sign.ps1 FILE...
#
# Signs files with the certificate of the environment: KALVIO_CERTIFICATE, a PKCS#12 file in base64, and
# KALVIO_CERTIFICATE_PASSWORD. Without the first it says so and leaves the files as they are.

param([Parameter(Mandatory, ValueFromRemainingArguments)] [string[]] $Files)
$ErrorActionPreference = 'Stop'

if (-not $env:KALVIO_CERTIFICATE) {
	Write-Output "Not signed, for there is no certificate in KALVIO_CERTIFICATE: $Files"
	return
}
$kits = Join-Path ${env:ProgramFiles(x86)} 'Windows Kits/10/bin'
$signtool = Get-ChildItem $kits -Recurse -Filter signtool.exe | Where-Object { $_.Directory.Name -eq 'x64' } |
	Sort-Object FullName | Select-Object -Last 1
if (-not $signtool) { throw "There is no signtool.exe below $kits" }
$certificate = New-TemporaryFile
try {
	[IO.File]::WriteAllBytes($certificate.FullName, [Convert]::FromBase64String($env:KALVIO_CERTIFICATE))
	$options = @(
		'sign', '/f', $certificate.FullName, '/p', $env:KALVIO_CERTIFICATE_PASSWORD, '/fd', 'SHA256'
		'/tr', 'http://timestamp.digicert.com', '/td', 'SHA256'
	)
	& $signtool.FullName @options @Files
	if ($LASTEXITCODE -ne 0) { throw "signtool failed with exit code $LASTEXITCODE" }
} finally {
	Remove-Item $certificate
}

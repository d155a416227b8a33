# Runs orbis-host on this PC, once with the caller's rights and once elevated, and stores its output and times in one zip, together with
# PowerShell's own data about the disks. tools/windows/tryout-compare.py compares them. Needs Windows PowerShell 5.1 only.
# usage: tryout.cmd [-Folder FOLDER] [-NoElevation]
param(
    [string] $Folder = (Join-Path $env:TEMP ('orbis-tryout-' + (Get-Date -Format 'yyyyMMdd-HHmmss'))),
    [switch] $NoElevation,
    [switch] $OnePass
)
$ErrorActionPreference = 'Continue'
$orbis = Join-Path $PSScriptRoot 'orbis-host.exe'
$identity = [Security.Principal.WindowsIdentity]::GetCurrent()
$elevated = ([Security.Principal.WindowsPrincipal] $identity).IsInRole([Security.Principal.WindowsBuiltInRole]::Administrator)
$rights = if ($elevated) { 'elevated' } else { 'not-elevated' }
$out = Join-Path $Folder $rights
New-Item -ItemType Directory -Force -Path $out | Out-Null

# The output of a command, its exit status and its time.
function Invoke-Orbis([string] $name, [string[]] $arguments) {
    $quoted = $arguments | ForEach-Object { if ($_ -match '\s') { '"' + $_ + '"' } else { $_ } }
    $watch = [Diagnostics.Stopwatch]::StartNew()
    $process = Start-Process -FilePath $orbis -ArgumentList $quoted -NoNewWindow -Wait -PassThru `
        -RedirectStandardOutput (Join-Path $out "$name.out") -RedirectStandardError (Join-Path $out "$name.err")
    [pscustomobject] @{ name = $name; arguments = ($arguments -join ' '); status = $process.ExitCode; milliseconds = $watch.ElapsedMilliseconds }
}

# Properties of a list of objects as JSON, also when the list is empty or has one element; the reason where the command failed.
# Enumerations, characters and dates become text.
function Save-Rows([string] $name, [scriptblock] $command, [string[]] $properties) {
    $document = @{ rows = @(); error = $null }
    try {
        foreach ($object in @(& $command)) {
            $row = @{}
            foreach ($property in $properties) {
                $value = $object.$property
                if (($value -is [enum]) -or ($value -is [char]) -or ($value -is [datetime])) { $value = "$value" }
                $row[$property] = $value
            }
            $document.rows += $row
        }
    } catch { $document.error = "$_" }
    ConvertTo-Json -Depth 4 -InputObject $document | Out-File -Encoding utf8 -FilePath (Join-Path $out "$name.json")
}

Write-Host "Collecting ($rights) into $out"
$runs = @()
$help = (& $orbis --help) -join "`n"
$runs += Invoke-Orbis 'version' @('--version')
$runs += Invoke-Orbis 'describe' @('describe')
$runs += Invoke-Orbis 'collect-first' @('collect', 'all', '--format', 'json', '--log-level', 'debug')
$runs += Invoke-Orbis 'collect' @('collect', 'all', '--format', 'json', '--log-level', 'debug')
$runs += Invoke-Orbis 'table' @('collect')
foreach ($datatype in 'PhysicalDiskStaticInfo', 'PhysicalDiskDynamicInfo', 'SmartStaticInfo', 'SmartDynamicInfo', 'SmartNvmeInfo',
    'NvmeIdentifyControllerData') {
    $runs += Invoke-Orbis "collect-$datatype" @('collect', $datatype, '--format', 'json', '--log-level', 'trace')
}
# Commands that an older version may lack.
if ($help -match '(?m)^\s+health\b') { $runs += Invoke-Orbis 'health' @('health', '--format', 'json') }
if ($help -match '(?m)^\s+explain\b') { $runs += Invoke-Orbis 'explain' @('explain') }
if ((& $orbis machine --help) -join "`n" -match '(?m)^\s+record\b') {
    $runs += Invoke-Orbis 'record' @('machine', 'record', (Join-Path $out 'machine.txtpb'))
}
$runs | ConvertTo-Json | Out-File -Encoding utf8 -FilePath (Join-Path $out 'runs.json')

Save-Rows 'PhysicalDisk' { Get-PhysicalDisk -ErrorAction Stop } @('DeviceId', 'FriendlyName', 'Model', 'SerialNumber', 'FirmwareVersion',
    'Size', 'MediaType', 'BusType', 'HealthStatus')
Save-Rows 'Disk' { Get-Disk -ErrorAction Stop } @('Number', 'FriendlyName', 'SerialNumber', 'Size', 'Guid', 'PartitionStyle', 'BusType',
    'IsBoot', 'IsSystem', 'Location')
Save-Rows 'Partition' { Get-Partition -ErrorAction Stop } @('DiskNumber', 'PartitionNumber', 'DriveLetter', 'Size', 'Offset', 'Guid',
    'GptType', 'Type', 'IsBoot')
Save-Rows 'StorageReliabilityCounter' { Get-PhysicalDisk -ErrorAction Stop | Get-StorageReliabilityCounter -ErrorAction Stop } @('DeviceId',
    'Temperature', 'Wear', 'PowerOnHours', 'StartStopCycleCount', 'ReadErrorsTotal', 'WriteErrorsTotal')
Save-Rows 'Win32_DiskDrive' { Get-CimInstance -ClassName 'Win32_DiskDrive' -ErrorAction Stop } @('Index', 'PNPDeviceID', 'Model',
    'SerialNumber', 'FirmwareRevision', 'Size', 'SCSIPort', 'InterfaceType', 'MediaType')
Save-Rows 'PerfDisk' { Get-CimInstance -ClassName 'Win32_PerfFormattedData_PerfDisk_PhysicalDisk' -ErrorAction Stop } @('Name',
    'PercentIdleTime', 'PercentDiskReadTime', 'PercentDiskWriteTime', 'DiskReadBytesPersec', 'DiskWriteBytesPersec')
Save-Rows 'Volume' { Get-Volume -ErrorAction Stop } @('DriveLetter', 'FileSystem', 'DriveType', 'Size', 'SizeRemaining')
Save-Rows 'BitLocker' { Get-CimInstance -Namespace 'root/cimv2/Security/MicrosoftVolumeEncryption' -ClassName 'Win32_EncryptableVolume' `
    -ErrorAction Stop } @('DriveLetter', 'ProtectionStatus')
Save-Rows 'Controllers' { Get-CimInstance -ClassName 'Win32_PnPEntity' -ErrorAction Stop |
    Where-Object { @('SCSIAdapter', 'HDC', 'CDROM', 'DiskDrive') -contains $_.PNPClass } } @('PNPClass', 'Name', 'Manufacturer', 'Service',
    'PNPDeviceID', 'Status')
Save-Rows 'OperatingSystem' { Get-CimInstance -ClassName 'Win32_OperatingSystem' -ErrorAction Stop } @('Caption', 'Version', 'BuildNumber',
    'OSArchitecture', 'Locale', 'OSLanguage', 'CodeSet')
Save-Rows 'Computer' { Get-CimInstance -ClassName 'Win32_ComputerSystem' -ErrorAction Stop } @('Manufacturer', 'Model', 'SystemType',
    'TotalPhysicalMemory')
Save-Rows 'Processor' { Get-CimInstance -ClassName 'Win32_Processor' -ErrorAction Stop } @('Name', 'Architecture')
Save-Rows 'Culture' { Get-Culture } @('Name', 'DisplayName')
Save-Rows 'Power' { Get-CimInstance -ClassName 'Win32_Battery' -ErrorAction Stop } @('BatteryStatus', 'EstimatedChargeRemaining')
powercfg.exe /getactivescheme 2>&1 | Out-File -Encoding utf8 -FilePath (Join-Path $out 'powercfg.txt')

if ($OnePass) { exit 0 }
if (-not $elevated -and -not $NoElevation) {
    Write-Host 'Now the same with elevated rights. Windows asks for permission; answer No to continue without.'
    try {
        Start-Process -FilePath powershell.exe -Verb RunAs -Wait -ArgumentList @('-NoProfile', '-ExecutionPolicy', 'Bypass', '-File',
            "`"$PSCommandPath`"", '-Folder', "`"$Folder`"", '-OnePass')
    } catch { Write-Host "Without elevated rights: $_" }
}
$zip = "$Folder.zip"
Compress-Archive -Path (Join-Path $Folder '*') -DestinationPath $zip -Force
Write-Host "Done: $zip"
Write-Host 'It contains serial numbers and names of devices.'

@echo off
rem Tries the collector out on this PC and stores what it and PowerShell know about its disks in one zip, to be sent back.
rem Nothing is installed or changed. The zip holds serial numbers: look into it before it leaves your hands.
powershell.exe -NoProfile -ExecutionPolicy Bypass -File "%~dp0tryout.ps1" %*

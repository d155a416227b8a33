# Completion of orbis-host for fish: put this file in ~/.config/fish/completions.
set -l commands describe collect metrics health explain report machine help version
set -l datatypes all PhysicalDiskStaticInfo PhysicalDiskDynamicInfo SmartStaticInfo SmartDynamicInfo SmartNvmeInfo NvmeIdentifyControllerData

complete -c orbis-host -f
complete -c orbis-host -l help -s h -d 'Show help'
complete -c orbis-host -n "not __fish_seen_subcommand_from $commands" -l version -d 'Show the version'
complete -c orbis-host -n "not __fish_seen_subcommand_from $commands" -a describe -d 'Show the plug-in and the datatypes it collects'
complete -c orbis-host -n "not __fish_seen_subcommand_from $commands" -a collect -d 'Collect datatypes and print them'
complete -c orbis-host -n "not __fish_seen_subcommand_from $commands" -a metrics -d 'Print everything as metrics for Prometheus'
complete -c orbis-host -n "not __fish_seen_subcommand_from $commands" -a health -d 'Give each disk a verdict, worst first'
complete -c orbis-host -n "not __fish_seen_subcommand_from $commands" -a explain -d 'Show where every value comes from'
complete -c orbis-host -n "not __fish_seen_subcommand_from $commands" -a report -d 'Write one HTML page'
complete -c orbis-host -n "not __fish_seen_subcommand_from $commands" -a machine -d 'Record a machine, and look at files that describe machines'
complete -c orbis-host -n "not __fish_seen_subcommand_from $commands" -a help -d 'Show the help of a command'
complete -c orbis-host -n "not __fish_seen_subcommand_from $commands" -a version -d 'Show the version'
complete -c orbis-host -n "__fish_seen_subcommand_from health explain" -x -l format -a 'table json'
complete -c orbis-host -n "__fish_seen_subcommand_from health report" -r -F -l baseline -d 'Report what rose since this earlier --format json'
complete -c orbis-host -n "__fish_seen_subcommand_from health" -x -l only-when-rising -d 'Rules that are notices where nothing rose'
complete -c orbis-host -n "__fish_seen_subcommand_from health" -r -F -l state -d 'Keep the verdicts in this file'
complete -c orbis-host -n "__fish_seen_subcommand_from health" -x -l log-to -a 'journald eventlog'
complete -c orbis-host -n "__fish_seen_subcommand_from health" -l rules -d 'Show the rules of the verdict'
complete -c orbis-host -n "__fish_seen_subcommand_from collect explain" -a "$datatypes"
complete -c orbis-host -n "__fish_seen_subcommand_from collect metrics health explain" -x -l item -d 'Only this disk: item id, DISK0, number, serial number, C: or /dev/nvme0'
complete -c orbis-host -n "__fish_seen_subcommand_from collect metrics health explain report" -r -F -l machine -d 'Collect from the simulated machine of this file'
complete -c orbis-host -n "__fish_seen_subcommand_from collect record" -x -l format -a 'table json jsonl text binary'
complete -c orbis-host -n "__fish_seen_subcommand_from collect metrics health explain report record" -x -l deadline -d 'Leave out a disk that does not answer within so many seconds'
complete -c orbis-host -n "__fish_seen_subcommand_from collect metrics health explain report" -l skip-sleeping -d 'Leave out disks that are asleep'
complete -c orbis-host -n "__fish_seen_subcommand_from collect metrics health explain report" -l no-skip-sleeping -d 'Ask them like the others'
complete -c orbis-host -n "__fish_seen_subcommand_from collect metrics health explain report record" -x -l log-level -a 'trace debug info warning error off'
complete -c orbis-host -n "__fish_seen_subcommand_from collect" -x -l watch -d 'Collect again every so many seconds'
complete -c orbis-host -n "__fish_seen_subcommand_from collect" -x -l count -d 'End a watch after so many passes'
complete -c orbis-host -n "__fish_seen_subcommand_from collect metrics describe health explain report record" -r -F -l plugin -d 'Load this plug-in'
complete -c orbis-host -n "__fish_seen_subcommand_from machine; and not __fish_seen_subcommand_from record validate show" -a 'record validate show'
complete -c orbis-host -n "__fish_seen_subcommand_from record validate show" -F
complete -c orbis-host -n "__fish_seen_subcommand_from record" -r -F -l machine -d 'Record the simulated machine of this file'
complete -c orbis-host -n "__fish_seen_subcommand_from record" -x -l seconds -d 'Let counters run so many seconds'
complete -c orbis-host -n "__fish_seen_subcommand_from metrics report" -r -F -l output -d 'Write to this file, at once'
complete -c orbis-host -n "__fish_seen_subcommand_from report record" -l with-identifiers -d 'Keep serial numbers, identifiers and names'

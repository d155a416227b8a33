# Runs orbis-host as a user does and looks at how it ends, what it prints and what it says.
#   EMULATOR: what runs a foreign program, words joined by |   HOST: orbis-host   SOURCE: the project   WORK: a folder to write to
string(REPLACE "|" ";" emulator "${EMULATOR}")
set(ENV{LC_ALL} C.UTF-8)
set(failures 0)

# try(<exit status> <regex of standard output> <regex of standard error> <argument>...)
function(try status out err)
    execute_process(COMMAND ${emulator} ${HOST} ${ARGN} WORKING_DIRECTORY ${SOURCE}/machines
                    RESULT_VARIABLE got OUTPUT_VARIABLE printed ERROR_VARIABLE said)
    if(NOT got STREQUAL status OR NOT printed MATCHES "${out}" OR NOT said MATCHES "${err}")
        message("orbis-host ${ARGN}\n  ended with ${got}, not ${status}\n  printed: ${printed}\n  said: ${said}")
        math(EXPR count "${failures} + 1")
        set(failures ${count} PARENT_SCOPE)
    endif()
endfunction()

file(WRITE ${WORK}/wrong.txtpb "title: \"wrong\"\ndisk {\n  number: \"one\"\n}\n")
file(WRITE ${WORK}/odd.txtpb "disk { number: 1 kind: NVME size: 1000000000 }\ndisk { number: 1 kind: NVME size: 1000000000 }\n")

try(0 "Storage Info Collector.*77517a8f-8645-40c4-9e41-215e96e7dcfc.*NvmeIdentifyControllerData" "" describe)
try(0 "SmartNvmeInfo: 1 disk\n" "^$" collect SmartNvmeInfo --machine laptop-arm64.txtpb)
try(0 "^\\[\n{\"datatype\":\"SmartNvmeInfo\",\"itemId\":\"Disk_SCSI" "^$" collect SmartNvmeInfo --machine laptop-arm64.txtpb --format json)
try(0 "# SmartNvmeInfo \"Disk_SCSI.*health_info {" "^$" collect SmartNvmeInfo --machine laptop-arm64.txtpb --format text)
try(0 "SmartNvmeInfo" "^$" collect all --machine laptop-arm64.txtpb --format binary)
# Several datatypes come in the plug-in's order; log lines go to standard error alone, with level, file, line and function.
try(0 "SmartNvmeInfo: 1 disk.*NvmeIdentifyControllerData: 1 disk" "debug +StrgColl +Fetching NvmeHealthInfo for PhysicalDrive0 .*SmartNvmeInfoRetriever:[0-9]+ Veyra::"
    collect NvmeIdentifyControllerData SmartNvmeInfo --machine laptop-arm64.txtpb --log-level debug)
# Two passes of a watch with one plug-in object.
try(0 "2024-05-17T.*Z\n.*so far\n.*2024-05-17T.*Z\n" "" collect PhysicalDiskDynamicInfo --machine laptop-arm64.txtpb --watch 0.1 --count 2)
# No more passes than that, and a refusal is reported in the first alone.
file(WRITE ${WORK}/denied.txtpb "elevated: false disk { number: 0 kind: NVME size: 1000000000 nvme { maker { health { query_error: 1 } } } }\n")
try(4 "^[^Z]*Z\n[^Z]*Z\n[^Z]*$" "^orbis-host: no access[^\n]*\n$" collect SmartNvmeInfo --machine ${WORK}/denied.txtpb --watch 0.1 --count 2)
file(WRITE ${WORK}/sealed.txtpb "disk { number: 3 kind: USB_SATA size: 1000000000 exchange { ata_command: 0xB0 error: 5 } }\n")
try(4 "No SMART values \\(no access\\): DISK3" "^orbis-host: no access" collect SmartDynamicInfo --machine ${WORK}/sealed.txtpb)
# Of two inventory rows for one number the first counts, and a disk without a letter is named once.
foreach(id A B)
    string(APPEND rows "row { property { name: \"Index\" i4: 0 } property { name: \"SCSIPort\" i4: 0 } property { name: \"Model\" text: \"Model ${id}\" } "
                       "property { name: \"PNPDeviceID\" text: \"${id}\" } property { name: \"FirmwareRevision\" text: \"1\" } } ")
endforeach()
file(WRITE ${WORK}/twice.txtpb "wmi_class { name: \"Win32_DiskDrive\" ${rows} } disk { number: 0 kind: NVME size: 1000000000 }\n")
try(0 "DISK0 Model A +Disk_A" "^$" collect SmartNvmeInfo --machine ${WORK}/twice.txtpb)
try(0 "Z\n.*Z\n" "^orbis-host: DISK0 has no drive letter[^\n]*\n$" collect PhysicalDiskDynamicInfo --machine ${WORK}/twice.txtpb --watch 0.1 --count 2)
# What the collectors leave out silently, the host reports with the reason.
file(WRITE ${WORK}/unnamed.txtpb "wmi_class { name: \"Win32_DiskDrive\" row { property { name: \"Index\" i4: 3 } property { name: \"SCSIPort\" i4: 0 } "
                                 "property { name: \"Model\" i4: 1 } } row {} }\n")
try(4 "PhysicalDiskStaticInfo: 0 disks\n" "list of disk devices is empty; .*\n.*a drive has no id: .*no Index \\(0x80041002\\); .*\n.*drive 3 has no id: the Model .* no text; "
    collect PhysicalDiskStaticInfo --machine ${WORK}/unnamed.txtpb)
try(4 "^{\"formatVersion\":1,[^\n]*\"findings\":[^\n]*list of disk devices is empty" ""
    collect PhysicalDiskStaticInfo --machine ${WORK}/unnamed.txtpb --format jsonl)
# Views of what can be odd; their ordinary look is in tests/golden.
try(4 "999999986.99 +inf.*No SMART values \\(the drive reports none\\): \\(no id\\).*READ ONLY, backup failed.*174224571863520444416.00 YB.*SMART9\n.*\\\\x81 \\\\x08.*not reported"
    "" collect all --machine hostile.txtpb --log-level off)
# A collection that fails does not take the others with it. The reason is the letter; a finding says what else lacks data for it and what
# can be done. The exception is for debugging.
file(WRITE ${WORK}/letter.txtpb "disk { number: 0 kind: NVME model: \"One\" size: 1000000000 gpt {} } volume { letter: \"Z\" drive_type: 4 }\n")
try(1 "SmartStaticInfo: 1 disk\n" "^orbis-host: Z: could not be opened: .*PhysicalDiskDynamicInfo is empty.*; insert its medium[^\n]*\n$" collect PhysicalDiskStaticInfo SmartStaticInfo --machine ${WORK}/letter.txtpb)
try(1 "SmartStaticInfo: 1 disk\n" " error +StrgColl +Native exception : HRESULT 0x80070002 at cpp.*\norbis-host: [A-Za-z.]*ZelException" collect PhysicalDiskStaticInfo SmartStaticInfo --machine ${WORK}/letter.txtpb --log-level Debug)
# A disk by what a person calls it, for every datatype; one that is not there, with a list of those that are.
try(0 "SmartNvmeInfo: 0 disks\n.*SmartStaticInfo: 1 disk\n +Disk.*DISK3 Samsung" "^$" collect smartnvmeinfo SmartStaticInfo --machine workstation.txtpb --item g:)
try(2 "^$" "no disk is called VI9. .*DISK5 VEYRA IRON 4T  S/N VI4T0000001234  H:\n" collect all --machine workstation.txtpb --item VI9 --log-level off)
# Verdicts: the gravest is the status, each reason has its place, and a baseline tells what rose.
try(7 "^FAIL +DISK1 VEYRA VALUE 500G.*media errors 12 .NVMe log 02h bytes 160-175.\n.*WARN +DISK5.*8 reallocated sectors.*UNKNOWN  DISK6.*OK +DISK0" "^$" health --machine workstation.txtpb)
try(6 "^WARN +DISK5[^\n]*\n[^\n]*\n$" "^$" health --machine workstation.txtpb --item DISK5)
try(1 "UNKNOWN  DISK0[^\n]*\n +neither an NVMe health log nor SMART data can be read through its driver" "DISK0 is behind a RAID driver" health --machine raid-server.txtpb)
execute_process(COMMAND ${emulator} ${HOST} health --machine workstation.txtpb --format json WORKING_DIRECTORY ${SOURCE}/machines OUTPUT_VARIABLE report)
string(REPLACE "\"value\": \"12\"" "\"value\": \"7\"" report "${report}")
file(WRITE ${WORK}/baseline.json "${report}")
try(7 "media errors 12, .5 since 2024-05-17" "^$" health --machine workstation.txtpb --baseline ${WORK}/baseline.json)
file(REMOVE ${WORK}/state.json)
try(0 "DISK0" "^$" health --machine laptop-arm64.txtpb --state ${WORK}/state.json)
try(5 "DISK0" "state.json could not be written" health --machine laptop-arm64.txtpb --state ${WORK}/no-folder/state.json)
try(0 "DISK0" "^$" health --machine laptop-arm64.txtpb --baseline ${WORK}/state.json)
# A file of a later version is refused.
file(READ ${WORK}/state.json state)
string(REGEX REPLACE "(\"formatVersion\": ?)[0-9]+" "\\199" state "${state}")
file(WRITE ${WORK}/later.json "${state}")
try(2 "^$" "later.json: written by a later version" health --baseline ${WORK}/later.json)
try(2 "" "wrong.txtpb: not a report of" health --baseline ${WORK}/wrong.txtpb)
try(2 "" "no such rule: x" health --only-when-rising x --baseline ${WORK}/state.json)
try(0 "unsafeShutdowns.*\\(empty\\).*first byte 0 is sent as empty" "^$" explain SmartNvmeInfo --item 1 --machine workstation.txtpb)
# A report names disks that could not be judged; what cannot be written leaves nothing behind.
try(4 "^$" "^orbis-host: the health of DISK6 is unknown; the page says why\n$" report --machine workstation.txtpb --baseline ${WORK}/baseline.json --output ${WORK}/report.html)
try(2 "^$" "--output is required" report --machine workstation.txtpb)
try(2 "^$" "wrong.txtpb: not a report of" report --baseline ${WORK}/wrong.txtpb --output ${WORK}/none.html)
try(5 "^$" "report.html could not be written" report --machine empty.txtpb --output ${WORK}/no-folder/report.html)
try(2 "" "no such datatype: SmartNvmInfo. Did you mean SmartNvmeInfo" collect SmartNvmInfo)
try(2 "" "no such datatype: x. One of these:\n  all\n" collect x)
try(2 "" "xml" collect --format xml)
try(2 "" "no such option: --fromat=json. Did you mean --format" collect --fromat=json)
try(2 "" "requires --watch" collect --count 3)
try(2 "" "no such command: colect. Did you mean collect" colect)
try(2 "^$" "not expected here: collect" metrics --machine empty.txtpb collect)
try(2 "^$" "--item can be given only once" health --item 1 --item 2)
try(2 "" "no such command: shwo. Did you mean show" machine shwo x)
try(2 "" "wrong.txtpb:3:[0-9]+: error: .*" collect --machine ${WORK}/wrong.txtpb)
try(2 "" "no-such.txtpb: error: .*: No such file or directory" collect --machine no-such.txtpb)
try(2 "" "machines: error: .*: it is a folder" collect --machine ../machines)
file(WRITE ${WORK}/nothing.txtpb "\n")
string(ASCII 239 187 191 byte_order_mark)
string(ASCII 255 no_utf8)
file(WRITE ${WORK}/marked.txtpb "${byte_order_mark}title: \"Marked\"\n")
file(WRITE ${WORK}/foreign.txtpb "title:\n  \"${no_utf8}\"\n")
try(2 "^$" "the machine file is empty" collect --machine ${WORK}/nothing.txtpb)
try(0 "Marked" "^$" machine show ${WORK}/marked.txtpb)
try(2 "^$" "foreign.txtpb:2:4: error: the byte 0xFF is not UTF-8 text" machine show ${WORK}/foreign.txtpb)
# A variable of a script that was never set chooses neither this machine nor every disk.
execute_process(COMMAND ${emulator} ${HOST} collect --machine "" RESULT_VARIABLE got ERROR_VARIABLE said)
if(NOT got EQUAL 2 OR NOT said MATCHES "--machine: its value is empty")
    message("orbis-host collect --machine \"\"\n  ended with ${got}, not 2\n  said: ${said}")
    math(EXPR failures "${failures} + 1")
endif()
try(2 "^$" "--item needs a value" health --machine workstation.txtpb --item=)
try(2 "^$" "give a number from 0.1 to 86400, not nan" collect --watch nan)
# Names that no code page of one language holds.
configure_file(${SOURCE}/machines/laptop-arm64.txtpb "${WORK}/Gerät データ.txtpb" COPYONLY)
try(0 "SmartNvmeInfo: 1 disk\n" "^$" collect SmartNvmeInfo --machine "${WORK}/Gerät データ.txtpb")
try(2 "" "Nicht da データ.txtpb: error: " machine validate "${WORK}/Nicht da データ.txtpb")
try(0 "workstation.txtpb: ok\n" "" machine validate workstation.txtpb empty.txtpb)
try(2 "" "odd.txtpb:2:.*disk.1..number" machine validate ${WORK}/odd.txtpb)
try(0 "disk 0: NVMe" "" machine show laptop-arm64.txtpb)
# A recording replays what it printed. What it lacks is never "not found", and is said once.
try(0 "SmartNvmeInfo: 1 disk\n" "^$" machine record ${WORK}/recorded.txtpb --with-identifiers --machine laptop-arm64.txtpb --format table)
try(0 "DISK0 Lexar SSD NM790 4TB" "^$" health --machine ${WORK}/recorded.txtpb)
file(READ ${WORK}/recorded.txtpb recorded)
string(REPLACE "MSFT_PhysicalDisk" "MSFT_Other" recorded "${recorded}")
file(WRITE ${WORK}/lacking.txtpb "${recorded}")
try(4 "PhysicalDiskStaticInfo: 1 disk" "^orbis-host: the recording has no answer to Wmi::ExecQuery [^\n]*MSFT_PhysicalDisk; [^\n]*\n$"
    collect PhysicalDiskStaticInfo --machine ${WORK}/lacking.txtpb --watch 0.1 --count 3 --log-level off)
# This machine, whatever it has: messages, log lines but their times, and status.
function(run_here results)
    execute_process(COMMAND ${emulator} ${HOST} ${ARGN} --format json --log-level trace
                    RESULT_VARIABLE status OUTPUT_VARIABLE printed ERROR_VARIABLE said)
    string(REGEX MATCHALL " (trace|debug|info|warning|error) +StrgColl [^\n]*" lines "${said}")
    set(${results} "${status}\n${lines}\n${printed}" PARENT_SCOPE)
endfunction()
run_here(recorded machine record ${WORK}/here.txtpb --with-identifiers --seconds 0.1)
run_here(replayed collect all --machine ${WORK}/here.txtpb)
if(NOT recorded STREQUAL replayed OR NOT replayed MATCHES "^[014]\n[^\n]*StrgColl")
    message("this machine: recorded\n${recorded}\nreplayed\n${replayed}")
    math(EXPR failures "${failures} + 1")
endif()
# A recording with a gap, or that finds no room, is no file.
file(REMOVE ${WORK}/recorded.txtpb)
string(REPEAT "partition { size: 1000000 } " 20 partitions)
file(WRITE ${WORK}/long.txtpb "firmware_table { provider: \"RSMB\" content { hex: \"00030000000000407f0400000000\" size: 4000000 } }\n"
                              "disk { number: 0 kind: NVME size: 1000000000 gpt { ${partitions} } }\n")
try(5 "^$" "nothing was written: the journal is full" machine record ${WORK}/recorded.txtpb --machine ${WORK}/long.txtpb)
try(5 "^$" "recorded.txtpb could not be written" machine record ${WORK}/no-folder/recorded.txtpb --machine laptop-arm64.txtpb)
if(EXISTS ${WORK}/recorded.txtpb)
    message("a recording with a gap was written")
    math(EXPR failures "${failures} + 1")
endif()
try(2 "" "wrong.txtpb:3:" machine show ${WORK}/wrong.txtpb)
try(3 "^$" "no-such-plugin.so: ([A-Z][a-z ]+ .Windows error 126.|.*No such file).*--plugin FILE" collect --plugin ${WORK}/no-such-plugin.so)
try(0 "Usage: orbis-host" "^$")
try(0 "Usage: orbis-host machine show" "^$" help machine show)
try(0 "orbis-host [0-9]" "" --version)
try(0 "orbis-host [0-9]" "" version)
# A disk that never answers is left out and named, the others are whole; so is a class of WMI, and the counters. In a watch it comes back when
# it answers. The machine's delays pass at once.
file(READ ${SOURCE}/machines/workstation.txtpb workstation)
foreach(case "hung|ata_command: 0xEC usual: true never: true" "back|ata_command: 0xEC usual: true delay: 10.2 uses: 1" "dead|usual: true never: true"
             "later|ata_command: 0xEC usual: true uses: 5 } exchange { ata_command: 0xEC usual: true never: true")
    string(REGEX MATCH "^[a-z]+" name "${case}")
    string(REGEX REPLACE "^[a-z]+.(.*)" "  number: 3\n  exchange { \\1 }\n" exchange "${case}")
    string(REPLACE "  number: 3\n" "${exchange}" text "${workstation}")
    file(WRITE ${WORK}/${name}.txtpb "${text}")
endforeach()
# A value at its threshold has failed (ATA SMART).
string(REPLACE "value: 83 worst: 60 threshold: 30" "value: 30 worst: 30 threshold: 30" text "${workstation}")
file(WRITE ${WORK}/threshold.txtpb "${text}")
try(0 "Seek error rate +30 +30 +30 +[0-9,]+ +FAILING" "^$" collect SmartDynamicInfo --machine ${WORK}/threshold.txtpb)
file(WRITE ${WORK}/class.txtpb "${workstation}" [[wmi_class { name: "MSFT_PhysicalDisk" wmi_namespace: "root\\microsoft\\windows\\storage" append: true never: true }]])
file(WRITE ${WORK}/counters.txtpb "${workstation}" [[counter_object { name: "PhysicalDisk" never: true }]])
set(whole "PhysicalDiskDynamicInfo: 5 disks.*PhysicalDiskStaticInfo: 5 disks.*SmartDynamicInfo: 5 disks.*SmartNvmeInfo: 3 disks.*SmartStaticInfo: 5 disks.*NvmeIdentifyControllerData: 3 disks")
try(4 "${whole}" "^orbis-host: DISK3: no answer to IDENTIFY DEVICE within 30 s; it is left out, the other disks are complete; [^\n]*\n$" collect --machine ${WORK}/hung.txtpb --deadline 30 --log-level off)
try(4 "${whole}" "^orbis-host: DISK3: no answer to the device number within 30 s" collect --machine ${WORK}/dead.txtpb --deadline 30 --log-level off)
# The log lines of a process whose pass is not wanted are not shown.
try(4 "SmartNvmeInfo: 3" "^[^\n]* Fetching NvmeHealthInfo for PhysicalDrive0 [^\n]*\n([^\n]*( NvmeHealthInfo for PhysicalDrive[1-6]| HealthInfo| CuctomizedHealthInfo|Skipping|collected|DeviceName)[^\n]*\n)*orbis-host: DISK3[^\n]*\n$"
    collect SmartNvmeInfo SmartStaticInfo --machine ${WORK}/hung.txtpb --deadline 30 --log-level debug)
try(0 "PhysicalDiskStaticInfo: 6 disks" "^$" collect PhysicalDiskStaticInfo --machine ${WORK}/back.txtpb --deadline 30)
try(4 "PhysicalDiskStaticInfo: 6 disks" "MSFT_PhysicalDisk: no answer to the query within 30 s" collect PhysicalDiskStaticInfo --machine ${WORK}/class.txtpb --deadline 30 --log-level off)
try(4 "DynamicInfo: 0 disks.*StaticInfo: 6 disks" "the performance counters: no answer to a sample within 30 s"
    collect PhysicalDiskDynamicInfo PhysicalDiskStaticInfo --machine ${WORK}/counters.txtpb --deadline 30 --log-level off)
try(7 "UNKNOWN  DISK3 Samsung[^\n]*\n +no answer to IDENTIFY DEVICE within 30 s" "DISK3: no answer" health --machine ${WORK}/hung.txtpb --baseline ${WORK}/baseline.json)
try(4 "^UNKNOWN  DISK3[^\n]*\n[^\n]*\n$" "^orbis-host: DISK3: no answer[^\n]*\n$" health --machine ${WORK}/hung.txtpb --item 3)
try(4 "orbis_findings 1" "" metrics --machine ${WORK}/hung.txtpb)
try(4 "SmartNvmeInfo" "DISK3: no answer" explain --machine ${WORK}/hung.txtpb --deadline 30)
try(4 "DISK2 VEYRA PX8 2TB[^\n]*\n  DISK5.*DISK3 Samsung" "DISK3: no answer to IDENTIFY DEVICE within 10 s"
    collect PhysicalDiskDynamicInfo --machine ${WORK}/back.txtpb --deadline 10 --watch 0.1 --count 6)
try(4 "DISK3 Samsung.*DISK3 Samsung.*\nDISK3: no answer; its last answer, [0-9]+ s old, is shown" "DISK3: no answer to IDENTIFY DEVICE within 30 s"
    collect PhysicalDiskDynamicInfo --machine ${WORK}/later.txtpb --deadline 30 --watch 0.1 --count 4)
# Of two disks that are late the one that answers comes back, although the other does not.
string(REPLACE "\n  number: 3\n" "\n  number: 3\n  exchange { ata_command: 0xEC usual: true never: true }\n" text "${workstation}")
string(REPLACE "\n  number: 5\n" "\n  number: 5\n  exchange { ata_command: 0xEC usual: true delay: 5.2 uses: 1 }\n" text "${text}")
file(WRITE ${WORK}/two.txtpb "${text}")
try(4 "DISK3: no answer[^\n]*\nDISK5: no answer.*DISK5 VEYRA.*DISK3: no answer[^\n]*\n$" "DISK5: no answer to IDENTIFY DEVICE within 5 s"
    collect PhysicalDiskDynamicInfo --machine ${WORK}/two.txtpb --deadline 10 --watch 0.1 --count 8 --log-level off)
# Disks that are asleep are not woken: ASLEEP with the last verdict, no alarm, no weight in the status. A disk that falls asleep in a watch keeps
# its last answer, and is back when it wakes up.
string(REGEX REPLACE "\n  number: ([35])\n" "\n  number: \\1\n  sleeps_at: 0\n" text "${workstation}")
file(WRITE ${WORK}/asleep.txtpb "${text}")
string(REPLACE "\n  number: 3\n" "\n  number: 3\n  sleeps_at: 3.05\n  wakes_at: 3.15\n" text "${workstation}")
file(WRITE ${WORK}/dozes.txtpb "${text}")
file(REMOVE ${WORK}/slept.json)
try(7 "" "" health --machine workstation.txtpb --state ${WORK}/slept.json)
foreach(again 1 2)
    try(7 "OK +DISK2[^\n]*\nASLEEP +DISK3 [^\n]*\nASLEEP +DISK5 VEYRA IRON 4T +VI4T0000001234 +H: +last verdict WARN, [0-9]+ s ago\n$" "^$"
        health --machine ${WORK}/asleep.txtpb --state ${WORK}/slept.json)
endforeach()
try(0 "^ASLEEP +DISK5" "^$" health --machine ${WORK}/asleep.txtpb --item DISK5 --state ${WORK}/slept.json)
try(7 "ASLEEP +DISK3[^\n]* last verdict" "^$" health --machine ${WORK}/asleep.txtpb --state ${WORK}/slept.json)
try(6 "^WARN +DISK5" "^$" health --machine ${WORK}/asleep.txtpb --item DISK5 --no-skip-sleeping)
try(0 "disk=.5.,serial=.VI4T0000001234.,verdict=.ASLEEP.. 1\n" "^$" metrics --machine ${WORK}/asleep.txtpb --log-level off)
try(0 "PhysicalDiskStaticInfo: 6 disks" "^$" collect PhysicalDiskStaticInfo --machine ${WORK}/asleep.txtpb --log-level off)
try(0 "PhysicalDiskStaticInfo: 4 disks" "DISK5 VEYRA IRON 4T is asleep and left out; --no-skip-sleeping wakes it\n$"
    collect PhysicalDiskStaticInfo --machine ${WORK}/asleep.txtpb --skip-sleeping --log-level off)
foreach(deadline 0 30)
    try(0 "DISK3 Samsung.*DISK3 Samsung.*\nDISK3: asleep; its last answer, [0-9]+ s old, is shown\n[^:]*:[^:]*:[0-9]+Z\n[^Z]*DISK3 Samsung[^Z]*$" "^$"
        collect PhysicalDiskDynamicInfo --machine ${WORK}/dozes.txtpb --deadline ${deadline} --watch 0.1 --count 3)
endforeach()
# A collecting process that crashes is survived and told.
if(CRASHING)
    try(1 "^$" "^([^\n]*the collecting process ended unexpectedly [^\n]*; once more\n)([^\n]*; once more\n)[^\n]*; nothing more is collected" collect --plugin ${CRASHING} --deadline 30)
endif()
# Output that is lost is an error.
if(EXISTS /dev/full AND NOT emulator)
    foreach(command "describe" "machine show laptop-arm64.txtpb" "collect PhysicalDiskDynamicInfo --machine laptop-arm64.txtpb --watch 0.1")
        separate_arguments(words UNIX_COMMAND "${command}")
        execute_process(COMMAND ${HOST} ${words} WORKING_DIRECTORY ${SOURCE}/machines OUTPUT_FILE /dev/full ERROR_VARIABLE said RESULT_VARIABLE got)
        if(NOT got EQUAL 5 OR NOT said MATCHES "cannot be written")
            message("orbis-host ${command} > /dev/full\n  ended with ${got}, not 5\n  said: ${said}")
            math(EXPR failures "${failures} + 1")
        endif()
    endforeach()
endif()

# A pipe that is named as a file is written to, and stays a pipe.
if(UNIX AND NOT emulator)
    execute_process(COMMAND sh -c "rm -f pipe; mkfifo pipe; timeout 9 cat pipe & '${HOST}' metrics --machine '${SOURCE}/machines/empty.txtpb' --output pipe; test -p pipe"
                    WORKING_DIRECTORY ${WORK} OUTPUT_VARIABLE printed RESULT_VARIABLE got)
    if(NOT got EQUAL 0 OR NOT printed MATCHES "orbis_host_info")
        message("metrics --output pipe\n  ended with ${got}\n  printed: ${printed}")
        math(EXPR failures "${failures} + 1")
    endif()
endif()

set(ENV{TERM} dumb)
try(7 "104 % used, 32 C, " "^$" health --machine workstation.txtpb)
# Colours are for terminals, unless NO_COLOR is set.
if(UNIX AND NOT emulator)
    string(ASCII 27 escape)
    set(start_ "^${escape}\\[1;31mFAIL")
    set(start_1 "^FAIL ")
    foreach(no_colour "" 1)
        execute_process(COMMAND ${CMAKE_COMMAND} -E env TERM=xterm NO_COLOR=${no_colour} script -qec "'${HOST}' health --machine workstation.txtpb" /dev/null
                        WORKING_DIRECTORY ${SOURCE}/machines INPUT_FILE /dev/null OUTPUT_VARIABLE printed)
        if(NOT printed MATCHES "${start_${no_colour}}")
            message("health on a terminal, with NO_COLOR=${no_colour}\n  printed: ${printed}")
            math(EXPR failures "${failures} + 1")
        endif()
    endforeach()
endif()

# What the help says is in the manual page and in the completions too.
file(READ ${SOURCE}/docs/man/orbis-host.1 manual_text)
string(REPLACE "\\-" "-" manual_text "${manual_text}")
execute_process(COMMAND ${emulator} ${HOST} collect --help OUTPUT_VARIABLE help)
execute_process(COMMAND ${emulator} ${HOST} describe OUTPUT_VARIABLE datatypes)
string(REGEX MATCHALL "--[a-z-]+|\n  [0-9]  [^\n]+" words "${help}")
string(REGEX MATCHALL "[A-Z][A-Za-z]+Info|[A-Z][A-Za-z]+Data" datatypes "${datatypes}")
foreach(file "manual page" orbis-host.bash _orbis-host orbis-host.fish)
    set(text "${manual_text}")
    if(NOT file STREQUAL "manual page")
        file(READ ${SOURCE}/completions/${file} text)
    endif()
    foreach(word ${words} ${datatypes})
        string(REGEX REPLACE "^\n  [0-9]  " "" word "${word}")  # what an exit status means
        string(FIND "${text}" "${word}" place)
        string(REGEX REPLACE "^--" "" bare "${word}")  # fish names options without dashes
        string(FIND "${text}" "-l ${bare}" fish)
        if(place EQUAL -1 AND fish EQUAL -1 AND NOT (word MATCHES " " AND NOT file STREQUAL "manual page"))
            message("\"${word}\" is in the help, but not in ${file}")
            math(EXPR failures "${failures} + 1")
        endif()
    endforeach()
endforeach()

if(failures)
    message(FATAL_ERROR "${failures} failed")
endif()

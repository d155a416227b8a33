# Runs orbis-host as a user does and looks at how it ends, what it prints and what it says.
#   EMULATOR: what runs a foreign program, words joined by |   HOST: orbis-host   SOURCE: the project   WORK: a folder to write to
string(REPLACE "|" ";" emulator "${EMULATOR}")
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
try(0 "SmartNvmeInfo" "^$" collect SmartNvmeInfo --machine laptop-arm64.txtpb --format binary)
# Several datatypes come in the plug-in's order; log lines go to standard error alone, with level, file, line and function.
try(0 "SmartNvmeInfo: 1 disk.*NvmeIdentifyControllerData: 1 disk" "debug +StrgColl +Fetching NvmeHealthInfo for PhysicalDrive0 .*SmartNvmeInfoRetriever:[0-9]+ Veyra::"
    collect NvmeIdentifyControllerData SmartNvmeInfo --machine laptop-arm64.txtpb --log-level debug)
# Two passes of a watch with one plug-in object.
try(0 "2024-05-17T.*Z\n.*Busy so far.*2024-05-17T.*Z\n" "" collect PhysicalDiskDynamicInfo --machine laptop-arm64.txtpb --watch 0.1 --count 2)
# What the collectors leave out without a word, the host tells with the reason.
file(WRITE ${WORK}/unnamed.txtpb "wmi_class { name: \"Win32_DiskDrive\" row { property { name: \"Index\" i4: 3 } property { name: \"SCSIPort\" i4: 0 } "
                                 "property { name: \"Model\" i4: 1 } } row {} }\n")
try(0 "PhysicalDiskStaticInfo: 0 disks\n" "a drive has no id: .*no Index \\(0x80041002\\)\n.*drive 3 has no id: the Model .* no text\n.*list of disk devices is empty\n"
    collect PhysicalDiskStaticInfo --machine ${WORK}/unnamed.txtpb)
# Views of what can be odd; their ordinary look is in tests/golden.
try(0 "953674304.00 +inf.*\\(no id\\) \\(SMART3\\)\n    no SMART values.*READ ONLY, backup failed.*174224571863520444416.00 YB.*SMART9 .*\\\\x81 \\\\x08.*not reported"
    "" collect all --machine hostile.txtpb --log-level off)
# A collection that fails does not take the others with it.
try(1 "PhysicalDiskStaticInfo: 1 disk\n.*no data" "collecting NvmeIdentifyControllerData failed: .*cannot find data with specific ID: Disk_none"
    collect all --machine laptop-arm64.txtpb --item Disk_none --log-level off)
try(2 "" "no such datatype: Smart" collect Smart)
try(2 "" "xml" collect --format xml)
try(2 "" "" collect --count 3)
try(2 "" "" frobnicate)
try(2 "" "wrong.txtpb:3:[0-9]+: error: .*" collect --machine ${WORK}/wrong.txtpb)
try(2 "" "no-such.txtpb: error: " collect --machine no-such.txtpb)
try(0 "workstation.txtpb: ok\n" "" machine validate workstation.txtpb empty.txtpb)
try(2 "" "odd.txtpb:2:.*disk.1..number" machine validate ${WORK}/odd.txtpb)
try(0 "disk 0: NVMe" "" machine show laptop-arm64.txtpb)
try(2 "" "wrong.txtpb:3:" machine show ${WORK}/wrong.txtpb)
try(3 "^$" "no-such-plugin.*--plugin FILE" collect --plugin ${WORK}/no-such-plugin.so)
try(0 "Usage: orbis-host" "" --help)
try(0 "orbis-host [0-9]" "" --version)

# What the help says is in the manual page and in the completion too.
file(READ ${SOURCE}/docs/man/orbis-host.1 manual)
file(READ ${SOURCE}/completions/orbis-host.bash completion)
execute_process(COMMAND ${emulator} ${HOST} collect --help OUTPUT_VARIABLE help)
string(REGEX MATCHALL "--[a-z-]+" options "${help}")
string(REPLACE "\\-" "-" manual "${manual}")
foreach(option ${options})
    if(NOT manual MATCHES "${option}" OR NOT completion MATCHES "${option}")
        message("${option} is in the help, but not in the manual page or not in the completion")
        math(EXPR failures "${failures} + 1")
    endif()
endforeach()

if(failures)
    message(FATAL_ERROR "${failures} failed")
endif()

#!/bin/sh
# usage: tools/capture-sysfs.sh >tests/platform/linux/trees/NAME.tree
# Writes the parts of this machine's /sys, /proc and /dev that the Linux platform reads as one text, which its tests unpack: one line for
# each folder, "FOLDER | NAME -> TARGET | NAME = CONTENT | <- PATH", with its links, its files and the links of the kernel's lists to it.
# Backslash, bar and everything that is not plain ASCII are written as \xNN. The script changes nothing and opens no device. The text
# contains serial numbers: check it before you pass it on. Run as root to include SMBIOS.
set -u
export LC_ALL=C

file() { # PATH: a file, if it exists and is readable
    [ -f "$1" ] && [ -r "$1" ] || return 0
    content=$(od -An -v -tx1 "$1" 2>/dev/null | awk '
        BEGIN { for (i = 33; i < 127; ++i) plain[sprintf("%02x", i)] = sprintf("%c", i); plain["20"] = " "; delete plain["5c"]; delete plain["7c"] }
        { for (i = 1; i <= NF; ++i) printf "%s", ($i in plain) ? plain[$i] : "\\x" $i }')
    printf '%s = %s\n' "${1#/}" "$content"
}

link() { # PATH: a link, with its unresolved target
    [ -L "$1" ] && printf '%s -> %s\n' "${1#/}" "$(readlink "$1")"
}

files_of() { # FOLDER NAME...
    folder=$1
    shift
    for name in "$@"; do file "$folder/$name"; done
}

parents() { # FOLDER: the files of the folders above a device, which describe its controllers and buses
    at=$1
    while [ "${at#/sys/devices/}" != "$at" ] && [ "$at" != /sys/devices ]; do
        files_of "$at" idVendor idProduct serial
        for speed in "$at"/link*/ata_link/link*/sata_spd; do file "$speed"; done
        at=${at%/*}
    done
}

block_folder() { # FOLDER: a disk or partition
    files_of "$1" dev size start partition removable hidden nsid serial stat uevent
    files_of "$1/queue" rotational logical_block_size physical_block_size
    for slave in "$1"/slaves/*; do link "$slave"; done
}

capture() {
    for block in /sys/class/block/*; do
        link "$block"
        name=${block##*/}
        [ ! -L "/sys/block/$name" ] || link "/sys/block/$name"
        real=$(readlink -f "$block")
        block_folder "$real"
        [ ! -r "$block/dev" ] || link "/sys/dev/block/$(cat "$block/dev")" # a multipath namespace's paths have none
        [ -L "$block/device" ] || continue
        link "$real/device"
        device=$(readlink -f "$block/device")
        link "$device/subsystem"
        files_of "$device" vendor model rev type name serial manfid fwrev uuid firmware_rev transport vpd_pg80 vpd_pg89 vpd_pgb1
        for controller in "$device"/nvme*; do
            link "$controller"
            files_of "$(readlink -f "$controller")" transport
        done
        parents "$device"
    done | awk '!seen[$0]++'

    for host in /sys/class/scsi_host/host*; do link "$host"; file "$(readlink -f "$host")/proc_name"; done
    for table in smbios_entry_point DMI; do file "/sys/firmware/dmi/tables/$table"; done
    for identifier in /dev/disk/by-uuid/* /dev/disk/by-partuuid/*; do link "$identifier"; done
    for name in self/mountinfo swaps diskstats; do file "/proc/$name"; done
}

# Each line so far is a link or a file; the lines of one folder are joined.
capture | awk '
    {
        link = index($0, " -> ")
        file = index($0, " = ")
        isLink = link && (!file || link < file)
        path = substr($0, 1, (isLink ? link : file) - 1)
        if (isLink && path ~ /^sys\/(class|block|dev)\//) {
            folder = substr($0, link + 4)
            gsub(/\.\.\//, "", folder)
            folder = "sys/" folder
            piece = "<- " path
        } else {
            folder = path
            sub(/\/[^\/]*$/, "", folder)
            piece = substr($0, length(folder) + 2)
        }
        if (!(folder in line)) order[++count] = folder
        line[folder] = line[folder] " | " piece
    }
    END { for (i = 1; i <= count; ++i) print order[i] line[order[i]] }'
exit 0

# Writes the page of `orbis-host report` as a C++ header: the files of FOLDER in two parts, between which the data is inserted. The content
# security policy in the page lists the SHA-256 of style and script, so that nothing else runs.
#   FOLDER: page.html, page.css and the scripts   OUTPUT: the header

# The text as browsers hash it: with a line feed for every line end.
function(read_text file out)
    file(READ ${FOLDER}/${file} text)
    string(REPLACE "\r\n" "\n" text "${text}")
    set(${out} "${text}" PARENT_SCOPE)
endfunction()

# base64(<SHA-256 in hexadecimal> <variable>)
function(base64 hex out)
    set(alphabet "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")
    set(text "")
    foreach(at RANGE 0 60 6)
        string(SUBSTRING "${hex}00" ${at} 6 group)
        foreach(shift 18 12 6 0)
            math(EXPR index "(0x${group} >> ${shift}) & 63")
            string(SUBSTRING ${alphabet} ${index} 1 letter)
            string(APPEND text ${letter})
        endforeach()
    endforeach()
    string(REGEX REPLACE ".$" "=" text "${text}")  # 32 bytes are eleven groups of three, less one byte
    set(${out} "${text}" PARENT_SCOPE)
endfunction()

read_text(page.html page)
read_text(page.css style)
set(script "")
foreach(file text parts disk page)
    read_text(${file}.js part)
    string(APPEND script "${part}")
endforeach()
if(style MATCHES "</" OR script MATCHES "</|<!--")
    message(FATAL_ERROR "page.css or a script holds a text that would end its element in the page")
endif()
foreach(part STYLE SCRIPT)
    string(TOLOWER ${part} name)
    string(SHA256 hex "${${name}}")
    base64(${hex} hash)
    string(REPLACE "@${part}_HASH@" "${hash}" page "${page}")
    string(REPLACE "@${part}@" "${${name}}" page "${page}")
endforeach()

string(FIND "${page}" "@DATA@" place)
if(place EQUAL -1)
    message(FATAL_ERROR "page.html has no place for the data")
endif()
string(SUBSTRING "${page}" 0 ${place} head)
math(EXPR place "${place} + 6")
string(SUBSTRING "${page}" ${place} -1 tail)

# Raw string literals that are short enough for every compiler.
foreach(part head tail)
    string(REPLACE "\n" "\n)~\"\n    R\"~(" ${part} "${${part}}")
endforeach()
file(WRITE ${OUTPUT} "#pragma once

#include <string_view>

namespace orbis::host {

// The page before and behind its data.
inline constexpr std::string_view kPageHead =
    R\"~(${head})~\";
inline constexpr std::string_view kPageTail =
    R\"~(${tail})~\";

}  // namespace orbis::host
")

#!/bin/sh
# Counts with strace what the physical-synthesis log asks of the operating system: one write a line, and reads of
# large blocks. Shows the tables of strace.
#
#    fsyn_strace.sh PROGRAM      PROGRAM is fsyn_lines
#
# Status 77 where there is no strace, or where it may not watch.
set -eu

program=$1
lines=20000

if ! strace -o /dev/null true 2>/dev/null; then
   echo "strace is not there, or may not watch a process: nothing was counted"
   exit 77
fi

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
log=$folder/log.fsyn

# calls_on_log SYSCALLS ARGUMENT...: prints how many of these system calls the program makes on the log.
calls_on_log() {
   syscalls=$1
   shift
   strace -f -c -P "$log" -e trace="$syscalls" -o "$folder/table" "$program" "$@" >"$folder/output" 2>&1
   cat "$folder/table" >&2
   awk '$NF == "total" { calls = $4 } END { print calls + 0 }' "$folder/table"
}

writes=$(calls_on_log write,writev,pwrite64,pwritev,pwritev2 write "$log" $lines)
echo "$lines lines: $writes writes"
test "$(wc -l <"$log")" -eq $lines
test "$writes" -eq $lines

bytes=$(wc -c <"$log")
reads=$(calls_on_log read,readv,pread64,preadv,preadv2 read "$log")
echo "$bytes bytes: $reads reads"
test "$(tail -n 1 "$folder/output")" -eq $((3 * lines))
test "$reads" -le $((bytes / 65536 + 2))

#!/usr/bin/env bash
# Makes docs/benchmarks.md and its charts of the figures that scripts/bench.sh took: scripts/bench-report.sh FIGURES
# FIGURES has lines of group, size, competitor and value, parted by tabs.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
if [[ ${1:-} == --help || $# -ne 1 ]]; then
  sed -n '2,3s/^# //p' "${BASH_SOURCE[0]}"
  exit 0
fi
data=$1
charts=$root/docs/benchmarks
mkdir -p "$charts"

# table GROUP HEAD [plain]: a row for each competitor, a column for each size; the value, and behind it its ratio to the
# first row unless the table is plain.
table() {
  awk -F '\t' -v group="$1" -v head="$2" -v plain="${3:-}" '
    function short(size) { return size >= 1e6 ? int(size / 1e6 + 0.5) " M" : size >= 1e3 ? int(size / 1e3 + 0.5) " K" : size "" }
    function number(value) { return value >= 100 ? sprintf("%.0f", value) : sprintf("%.3g", value) }
    $1 == group {
      if (!($2 in column)) { column[$2] = ++columns; sizes[columns] = $2 }
      if (!($3 in row)) { row[$3] = ++rows; names[rows] = $3 }
      value[$3, $2] = $4
    }
    END {
      line = "| " head " |"; rule = "|---|"
      for (c = 1; c <= columns; c++) { line = line " " (sizes[c] ? short(sizes[c]) : "") " |"; rule = rule "--:|" }
      print line; print rule
      for (r = 1; r <= rows; r++) {
        line = "| " names[r] " |"
        for (c = 1; c <= columns; c++) {
          own = value[names[1], sizes[c]]; this = value[names[r], sizes[c]]
          cell = this == "" ? "" : number(this) (r > 1 && own > 0 && !plain ? " (" sprintf("%.2f", this / own) ")" : "")
          line = line " " cell " |"
        }
        print line
      }
    }' "$data"
}

# chart GROUP TITLE X-LABEL Y-LABEL: cost against size, both logarithmic, a line for each competitor.
chart() {
  local group=$1 work
  work=$(mktemp -d)
  awk -F '\t' -v group="$group" -v folder="$work" '
    $1 == group { if (!($3 in file)) { file[$3] = sprintf("%s/%02d", folder, ++n); print $3 > (file[$3] ".name") }
                  print $2, $4 > file[$3] }' "$data"
  {
    echo "set terminal svg size 800,480 dynamic background rgb 'white' font 'sans-serif,13'"
    echo "set output '$charts/$group.svg'"
    echo "set title '$2'; set xlabel '$3'; set ylabel '$4'"
    echo "set logscale xy; set grid; set key outside right top; set format x '%.0s%c'"
    echo "set style increment default"
    printf 'plot '
    local separator=''
    for series in "$work"/[0-9][0-9]; do
      name=$(cat "$series.name")
      style='with linespoints pointtype 7 pointsize 0.5'
      case $name in
        floor:*) style='with lines dashtype 2 linecolor rgb "gray40"' ;;
      esac
      [[ -z $separator ]] && style="$style linewidth 3"
      printf "%s'%s' using 1:2 %s title '%s'" "$separator" "$series" "$style" "$name"
      separator=', '
    done
    echo
  } | gnuplot
  rm -rf "$work"
}

# bars GROUP TITLE Y-LABEL: a bar for each row of a group that has no sizes.
bars() {
  local rows
  rows=$(mktemp)
  awk -F '\t' -v group="$1" '$1 == group { gsub(/ /, "\\n", $3); printf "%d\t%s\t\"%s\"\n", n++, $4, $3 }' "$data" >"$rows"
  gnuplot <<PLOT
set terminal svg size 800,360 dynamic background rgb 'white' font 'sans-serif,13'
set output '$charts/$1.svg'
set title '$2'; set ylabel '$3'
set style fill solid 0.6; set boxwidth 0.6; set grid y; set yrange [0:]; unset key
set bmargin 6
plot '$rows' using 1:2:xticlabels(3) with boxes linecolor rgb 'dark-violet'
PLOT
  rm -f "$rows"
}

chart load 'From the bytes of a file to variables' 'bytes of the file' 'microseconds'
chart lookup 'Look-up of a name' 'names in the map' 'nanoseconds'
chart insert 'Insertion of a name, and its end' 'names in the map' 'nanoseconds'
chart memory 'Memory of a variable' 'names in the map' 'bytes'
chart getset 'Getters and silent setters beside a bare mutex pair' 'variables' 'microseconds'
chart hosts 'A change told to hosts' 'hosts' 'microseconds'
chart pack 'Packing all variables' 'variables' 'microseconds'
chart unpack 'Unpacking into new maps' 'variables' 'microseconds'
bars edit 'From the close of a write to the host' 'milliseconds'
bars init 'DoInit and what it is made of' 'microseconds'
chart save 'A save of one value' 'bytes of the file' 'microseconds'

# The document on which the module does worst beside the best peer with a new parser, and beside one with a kept parser.
worst_shape() {
  awk -F '\t' '
    $1 ~ /^load(-|$)/ && $1 != "load-linear" {
      key = $1 SUBSEP $2
      if ($3 == "module") own[key] = $4
      else if ($3 ~ /kept/) { if (!(key in kept) || $4 < kept[key]) kept[key] = $4 }
      else if ($3 !~ /^floor/) { if (!(key in fresh) || $4 < fresh[key]) fresh[key] = $4 }
    }
    END {
      for (key in own) {
        split(key, part, SUBSEP)
        if (!low || fresh[key] / own[key] < low) { low = fresh[key] / own[key]; where = part[1] " of " part[2] " bytes" }
        if (!keptLow || kept[key] / own[key] < keptLow) { keptLow = kept[key] / own[key]; keptWhere = part[1] " of " part[2] " bytes" }
      }
      printf "**Worst shape:** the best peer with a new parser takes %.2f times as long as the module (%s), the best with a kept parser %.2f times (%s).\n", low, where, keptLow, keptWhere
    }' "$data"
}

processor=$(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -n 1)
version() { dpkg-query --show --showformat='${Version}' "$1" 2>/dev/null || echo unknown; }
{
  cat <<TEXT
# Benchmarks

Written by \`scripts/bench.sh\`, which runs every program of \`benchmarks/\` on one processor of one machine.
Competitors of a table take turns in one process, 11 rounds after one that warms up; a figure is the median, the one in
brackets its ratio to the first row. Only ratios mean something elsewhere.

Machine: $processor, $(nproc) processors, Linux $(uname -r | cut -d- -f1), Wine $(version wine64). Kernel objects cost about
ten times as much under Wine as on Windows, and what touches files goes through Wine's server.
Compiler: GCC $(x86_64-w64-mingw32-g++-posix -dumpfullversion), release preset. Peers: RapidJSON $(version rapidjson-dev), nlohmann
$(version nlohmann-json3-dev), simdjson 3.0.1, Boost 1.81, tsl::robin_map $(version robin-map-dev), msgpack-c 4.1.3, cereal $(version libcereal-dev).

## File to variables

Microseconds from the bytes of a file to four maps of typed variables with dotted wide names. The peers are written with
care: the name grows and shrinks in one buffer, the maps are \`std::unordered_map\` or \`boost::unordered_flat_map\`, and
simdjson's parser is a new one for each load or one that is kept.

$(worst_shape)

TEXT
  for shape in feed catalogue coordinates shipped-settings shipped-headsets shipped-presets; do
    table "load-$shape" "${shape/-/ }, bytes"
    echo
  done
  cat <<'TEXT'
Settings of many sizes:

![cost against size](benchmarks/load.svg)

TEXT
  table load 'bytes'
  awk -F '\t' '$1 == "load-linear" { printf "\nCost of a byte at 10 MB to that at 1 MB: %.2f. Memory that is fresh from the system makes the difference.\n", $4 }' "$data"
  cat <<'TEXT'

The memory that a load takes at its peak, the bytes of the file included, less what stays as variables; in times of the file's
length, for the first load and for a second one of the same file.

TEXT
  table load-memory 'load' plain
  cat <<'TEXT'

## Look-up and insertion

Nanoseconds for a name of about 20 characters, in random order, without a lock.

![look-up](benchmarks/lookup.svg)

TEXT
  table lookup 'look-up among'
  cat <<'TEXT'

![insertion](benchmarks/insert.svg)

TEXT
  table insert 'insert and free'
  cat <<'TEXT'

Milliseconds for 100,000 names into an empty map. The colliding ones agree in the upper hash bits under a seed that their
maker knows; each store has its own.

TEXT
  table collisions 'names'
  cat <<'TEXT'

## Memory

Bytes of the process heap for a variable with its name.

![memory](benchmarks/memory.svg)

TEXT
  table memory 'names'
  cat <<'TEXT'

## Getters and setters

Microseconds through the interface of the DLL, beside locking and unlocking one Win32 mutex.

![getters and setters](benchmarks/getset.svg)

TEXT
  table getset 'variables'
  cat <<'TEXT'

Microseconds of one read among 10,000 variables, on so many threads at once, beside the lock and map that a host would write
for itself. A getter takes a kernel mutex, which survives the end of any thread; who reads every frame keeps the value and
follows its notices.

TEXT
  table readers 'readers'
  cat <<'TEXT'

## Hosts

Microseconds for a change that is told to so many hosts, beside the mutex pairs and events that its telling cannot do without.

![hosts](benchmarks/hosts.svg)

TEXT
  table hosts 'hosts'
  cat <<'TEXT'

Microseconds a change from the setter to the arrival at one host. What remains of the module's when its mutex pairs are
taken out are an event and a wait of the kernel, which a thread that may be terminated at any moment needs.

TEXT
  table delivery 'to one host' plain
  cat <<'TEXT'

## Packets

Microseconds for all variables: bools, integers, doubles, texts and blocks in equal parts. The peers pack from and unpack
into the module's own maps, or the standard library's. `PackAllVariables` takes the store's mutex.

![packing](benchmarks/pack.svg)

TEXT
  table pack 'pack'
  cat <<'TEXT'

![unpacking](benchmarks/unpack.svg)

TEXT
  table unpack 'unpack'
  cat <<'TEXT'

## Saves

Microseconds for one value of a file: read, changed, written.

![saves](benchmarks/save.svg)

TEXT
  table save 'bytes of the file'
  cat <<'TEXT'

## Edits and the start

Milliseconds from the close of a write by another process; 20 of the module's are the settling of the file.

![edits](benchmarks/edit.svg)

TEXT
  table edit 'edit' plain
  cat <<'TEXT'

Microseconds of `DoInit` with the default files of six headsets, without the survey of the machine.

![DoInit](benchmarks/init.svg)

TEXT
  table init 'step' plain
  printf '\n## The DLL\n\n%s bytes, the C++ library included.\n' "$(awk -F '\t' '$1 == "size" { print $4 }' "$data")"
} >"$root/docs/benchmarks.md"

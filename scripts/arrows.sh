#!/usr/bin/env bash
# Draws the links between the components of src/ into docs/architecture.md: scripts/arrows.sh [--check] [BUILD_FOLDER]
#   --check   changes nothing, and exits with 1 if the document shows other links
# Reads what CMake wrote into BUILD_FOLDER (default: build/release). Configure that preset first.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '--check 0..1' "$@"

links=$(realpath "${arguments[0]:-$root/build/release}")/components.txt
cd "$root"
document=docs/architecture.md
[[ -s $links ]] || fail "$links is missing; run: cmake --preset release."

# An arrow that follows from two others is left out, as a drawing of all of them could not be read.
draw() {
  awk '
    function name(folder) { gsub("/", "_", folder); return folder }
    function reaches(from, to, first, i) {
      for (i = 1; i <= count[from]; i++)
        if (!(first && target[from, i] == to) && (target[from, i] == to || reaches(target[from, i], to, 0))) return 1
      return 0
    }
    $1 == "searches" { components[++total] = $2 }
    $1 == "links" { target[$2, ++count[$2]] = $4; kind[$2, $4] = $3 }
    END {
      print "```mermaid"; print "flowchart TD"
      for (c = 1; c <= total; c++) printf "  %s[%s]\n", name(components[c]), components[c]
      for (c = 1; c <= total; c++)
        for (i = 1; i <= count[components[c]]; i++) {
          to = target[components[c], i]
          if (reaches(components[c], to, 1)) continue
          printf "  %s %s %s\n", name(components[c]), kind[components[c], to] == "public" ? "-->" : "-.->", name(to)
        }
      print "```"
    }' "$links"
}

replaced=$(
  awk -v drawing="$(draw)" '
    /^<!-- arrows: end -->/ { inside = 0; found++ }
    !inside { print }
    /^<!-- arrows: begin/ { print drawing; inside = 1; found++ }
    END { exit found != 2 }' "$document"
) || fail "$document lacks the lines \"<!-- arrows: begin -->\" and \"<!-- arrows: end -->\"."

if [[ -n ${options[--check]:-} ]]; then
  diff "$document" - <<<"$replaced" || fail "$document shows other links than the build has; run scripts/arrows.sh."
else
  printf '%s\n' "$replaced" >"$document"
fi

#!/bin/sh
# For GCC's -wrapper: links with lld in place of the program that GCC was about to call, its first argument.
# Debian's cross compiler finds no other linker than its own, which is slow and keeps every function that has unwind data.
shift
exec ld.lld-14 "$@"

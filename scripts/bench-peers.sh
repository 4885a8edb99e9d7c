#!/usr/bin/env bash
# Fetches the peers that have no package for this compiler into build/peers: scripts/bench-peers.sh
# These are the headers of Boost 1.81 and msgpack-c, whose packages exclude each other, and simdjson's source, all from the
# package mirror.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
parse_arguments '' "$@"
peers=$root/build/peers
mkdir -p "$peers"
cd "$peers"

if [[ ! -d boost181 ]]; then
  apt-get download -qq libboost1.81-dev 2>/dev/null
  dpkg -x libboost1.81-dev_*.deb unpacked
  mv unpacked/usr/include boost181
  rm -rf unpacked libboost1.81-dev_*.deb
fi

# Its package asks for the default Boost, which the newer one excludes.
if [[ ! -d msgpack ]]; then
  apt-get download -qq libmsgpack-cxx-dev 2>/dev/null
  dpkg -x libmsgpack-cxx-dev_*.deb unpacked
  mv unpacked/usr/include msgpack
  rm -rf unpacked libmsgpack-cxx-dev_*.deb
fi

if [[ ! -f simdjson/simdjson.cpp ]]; then
  # The machine's own sources, asked for source packages, without a change to the machine.
  mkdir -p sources lists
  cat /etc/apt/sources.list.d/*.sources 2>/dev/null | sed 's/^Types:.*/Types: deb-src/' >sources/peers.sources
  sed 's/^deb /deb-src /' /etc/apt/sources.list >sources/peers.list 2>/dev/null || true
  apt_options=(-qq -o Dir::Etc::sourcelist=/dev/null -o "Dir::Etc::sourceparts=$peers/sources" -o "Dir::State::lists=$peers/lists")
  apt-get "${apt_options[@]}" update
  apt-get "${apt_options[@]}" source --download-only simdjson >/dev/null
  tar -xf simdjson_*.orig.tar.*
  mkdir -p simdjson
  cp simdjson-*/singleheader/simdjson.{h,cpp} simdjson/
  rm -rf simdjson-* simdjson_* sources lists
fi

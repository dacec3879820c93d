#!/usr/bin/env bash
# Regenerates the synthetic APV sample of this directory: access units, each
# behind its size as 4 big-endian bytes. The payloads are not decodable
# pictures: each is the signature "aPv1" and a byte pattern that differs per
# unit, which is all the scanner looks at (it never parses inside a unit).
set -euo pipefail
cd "$(dirname "$0")"

be32() {  # the 4 big-endian bytes of $1
    printf "\\x$(printf %02x $(( ($1 >> 24) & 255 )))\\x$(printf %02x $(( ($1 >> 16) & 255 )))"
    printf "\\x$(printf %02x $(( ($1 >> 8) & 255 )))\\x$(printf %02x $(( $1 & 255 )))"
}

unit() {  # unit <payload size> <fill byte in hex>
    be32 "$1"
    printf 'aPv1'
    head -c $(( $1 - 4 )) /dev/zero | tr '\0' "\\$(printf %03o $(( 0x$2 )))"
}

{
    unit 40 11
    unit 4 22
    unit 300 33
    unit 17 44
} > four_units.apv
